// Names of the facts of doctor that can be bad, and of those about the menus.
#pragma once

namespace veskard {

inline constexpr char kRegistrationFact[] = "registration";
inline constexpr char kLibraryFact[] = "library";
inline constexpr char kArchitectureFact[] = "architecture";
inline constexpr char kVersionFact[] = "version";
inline constexpr char kExportsFact[] = "exports";
inline constexpr char kActivationFact[] = "activation";
inline constexpr char kProgramsFact[] = "programs";
inline constexpr char kIdentityFact[] = "identity";
inline constexpr char kPublisherFact[] = "publisher";
inline constexpr char kIdentityVersionFact[] = "identityVersion";
inline constexpr char kMenuLibraryFact[] = "firstMenuLibrary";
inline constexpr char kFileTypeFact[] = "fileType";
inline constexpr char kLogFact[] = "log";
inline constexpr char kLanguageFact[] = "language";
inline constexpr char kFirstMenuFact[] = "firstMenu";

}  // namespace veskard

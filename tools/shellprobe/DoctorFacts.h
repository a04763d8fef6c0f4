// Names of the facts of doctor that can be bad, in the order in which they matter.
#pragma once

namespace veskard {

inline constexpr char kRegistrationFact[] = "registration";
inline constexpr char kLibraryFact[] = "library";
inline constexpr char kArchitectureFact[] = "architecture";
inline constexpr char kVersionFact[] = "version";
inline constexpr char kExportsFact[] = "exports";
inline constexpr char kActivationFact[] = "activation";
inline constexpr char kProgramsFact[] = "programs";
inline constexpr char kFileTypeFact[] = "fileType";
inline constexpr char kLogFact[] = "log";
inline constexpr char kLanguageFact[] = "language";

}  // namespace veskard

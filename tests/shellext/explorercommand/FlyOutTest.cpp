// The fly-out and its children: what they are, whatever is selected.
#include <set>
#include <string>

#include "core/TaskMemory.h"
#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/FileTools.h"

namespace veskard::test {
namespace {

using FlyOutTest = FirstMenuTest;

GUID NameOf(IExplorerCommand& command) {
  GUID name = {};
  EXPECT_EQ(command.GetCanonicalName(&name), S_OK);
  return name;
}

EXPCMDFLAGS FlagsOf(IExplorerCommand& command) {
  EXPCMDFLAGS flags = 0xFFFF;
  EXPECT_EQ(command.GetFlags(&flags), S_OK);
  return flags;
}

UniqueCom<IEnumExplorerCommand> EnumeratorOf(IExplorerCommand& flyOut) {
  UniqueCom<IEnumExplorerCommand> enumerator;
  EXPECT_EQ(flyOut.EnumSubCommands(enumerator.Out()), S_OK);
  return enumerator;
}

// The next one's title; empty at the end.
std::wstring NextTitle(IEnumExplorerCommand& enumerator) {
  IExplorerCommand* next = nullptr;
  const HRESULT result = enumerator.Next(1, &next, nullptr);
  EXPECT_EQ(result, next != nullptr ? S_OK : S_FALSE);
  const ExplorerCommandPointer child(next);
  return child ? TextOf(*child.Get(), &IExplorerCommand::GetTitle) : L"";
}

// ---- The class

TEST_F(FlyOutTest, TheClassHasIndexSevenOfTheFamily) {
  constexpr GUID kClass = {0x8AF59407, 0xCC05, 0x0002, {0x07, 0x02, 0xAE, 0x64, 0x72, 0xCC, 0x92, 0xB2}};
  UniqueCom<IClassFactory> factory;
  EXPECT_EQ(library_.DllGetClassObject(kClass, IID_IClassFactory, reinterpret_cast<void**>(factory.Out())),
            S_OK);
}

TEST_F(FlyOutTest, NoOtherClassIsServed) {
  GUID other = {0x8AF59400, 0xCC05, 0x0002, {0x07, 0x02, 0xAE, 0x64, 0x72, 0xCC, 0x92, 0xB2}};
  for (other.Data1 = 0x8AF59400; other.Data1 < 0x8AF59409; ++other.Data1) {
    if (other.Data1 == 0x8AF59407) continue;
    void* factory = &other;
    EXPECT_EQ(library_.DllGetClassObject(other, IID_IClassFactory, &factory), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(factory, nullptr);
  }
}

TEST_F(FlyOutTest, AnswersForItsInterfacesAndNoOther) {
  const auto flyOut = library_.NewFlyOut();
  UniqueCom<IUnknown> identity;
  EXPECT_EQ(flyOut.Get()->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(identity.Out())), S_OK);
  void* other = &other;
  EXPECT_EQ(flyOut.Get()->QueryInterface(IID_IContextMenu, &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(flyOut.Get()->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(FlyOutTest, IsNotAggregated) {
  StandInArray outer;
  void* flyOut = &outer;
  EXPECT_EQ(library_.Factory().Get()->CreateInstance(&outer, IID_IUnknown, &flyOut), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(flyOut, nullptr);
}

// ---- What the commands are called and how they look

TEST_F(FlyOutTest, BearsTheProductsName) {
  EXPECT_EQ(TextOf(*library_.NewFlyOut().Get(), &IExplorerCommand::GetTitle), L"Nimbrel Veskard Agent");
}

TEST_F(FlyOutTest, HasAlwaysTheSameFourChildrenInThisOrder) {
  const auto flyOut = library_.NewFlyOut();
  std::vector<std::wstring> titles;
  for (const auto& child : ChildrenOf(*flyOut.Get()))
    titles.push_back(TextOf(*child.Get(), &IExplorerCommand::GetTitle));
  EXPECT_EQ(titles, (std::vector<std::wstring>{L"Sync to this device", L"Cancel receiving",
                                               L"Remove from this device", L"Remove from all devices"}));
}

TEST_F(FlyOutTest, HasSubCommandsAndItsChildrenHaveNothingSpecial) {
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(FlagsOf(*flyOut.Get()), EXPCMDFLAGS{ECF_HASSUBCOMMANDS});
  for (const auto& child : ChildrenOf(*flyOut.Get()))
    EXPECT_EQ(FlagsOf(*child.Get()), EXPCMDFLAGS{ECF_DEFAULT});
}

// Literally: a change here breaks what somebody has kept.
TEST_F(FlyOutTest, TheCanonicalNamesNeverChange) {
  constexpr GUID kFlyOut = {0xFD5B269E, 0xA889, 0x4184, {0xA8, 0x75, 0xDB, 0x13, 0x8F, 0x5A, 0xCD, 0x3C}};
  constexpr GUID kChildren[] = {
      {0x9C40E46F, 0xF0F9, 0x485E, {0x93, 0x66, 0x93, 0x85, 0x0D, 0xA4, 0xBB, 0xA5}},
      {0x891872BA, 0x8E6A, 0x4098, {0xBB, 0xC0, 0x16, 0xC3, 0x07, 0x6F, 0x1F, 0x92}},
      {0xAD9D9407, 0xF0DD, 0x4170, {0x8A, 0x2F, 0xF8, 0xD5, 0x05, 0xA6, 0xCD, 0x54}},
      {0x415403D2, 0xD543, 0x48A4, {0x93, 0x79, 0x75, 0x40, 0xA4, 0xC1, 0x72, 0x32}},
  };
  const auto flyOut = library_.NewFlyOut();
  EXPECT_TRUE(NameOf(*flyOut.Get()) == kFlyOut);
  const auto children = ChildrenOf(*flyOut.Get());
  for (size_t i = 0; i < 4; ++i) EXPECT_TRUE(NameOf(*children[i].Get()) == kChildren[i]) << i;
}

// The pictures of "Sync to this device" and "Cancel receiving" are the same one, as in the
// classic menu.
TEST_F(FlyOutTest, PicturesAreNamedByTheLibrarysFullPathAndAnId) {
  const auto flyOut = library_.NewFlyOut();
  const std::wstring library = ExplorerCommandLibraryPath();
  EXPECT_EQ(TextOf(*flyOut.Get(), &IExplorerCommand::GetIcon), library + L",-111");
  const auto children = ChildrenOf(*flyOut.Get());
  constexpr const wchar_t* kIds[] = {L",-110", L",-110", L",-108", L",-109"};
  for (size_t i = 0; i < 4; ++i)
    EXPECT_EQ(TextOf(*children[i].Get(), &IExplorerCommand::GetIcon), library + kIds[i]) << i;
}

// As the shell does with the answer of GetIcon.
UniqueIcon Extract(const std::wstring& location, int size) {
  const size_t comma = location.find_last_of(L',');
  HICON icon = nullptr;
  EXPECT_EQ(::PrivateExtractIconsW(location.substr(0, comma).c_str(), std::stoi(location.substr(comma + 1)),
                                   size, size, &icon, nullptr, 1, 0),
            1u)
      << size;
  return UniqueIcon(icon);
}

TEST_F(FlyOutTest, ThePicturesAreThereInEverySize) {
  const auto flyOut = library_.NewFlyOut();
  for (const int size : {16, 20, 24, 32, 48, 256}) {
    EXPECT_TRUE(Extract(TextOf(*flyOut.Get(), &IExplorerCommand::GetIcon), size));
    for (const auto& child : ChildrenOf(*flyOut.Get()))
      EXPECT_TRUE(Extract(TextOf(*child.Get(), &IExplorerCommand::GetIcon), size));
  }
}

TEST_F(FlyOutTest, ALibraryWithAPathBeyond260CharactersNamesItWhole) {
  const ScratchFolder scratch;
  const std::wstring folder = FolderForLength(scratch.Path(), 400, 26);
  const std::wstring path = folder + L"\\VeskardExplorerCommand.dll";
  ASSERT_TRUE(::CopyFileW(ExplorerCommandLibraryPath().c_str(), (L"\\\\?\\" + path).c_str(), TRUE));
  {
    const ExplorerCommandLibrary library(path);
    const auto flyOut = library.NewFlyOut();
    EXPECT_EQ(TextOf(*flyOut.Get(), &IExplorerCommand::GetIcon), path + L",-111");
  }
}

TEST_F(FlyOutTest, ThereAreNoToolTips) {
  wchar_t* tip = reinterpret_cast<wchar_t*>(&tip);
  EXPECT_EQ(library_.NewFlyOut().Get()->GetToolTip(nullptr, &tip), E_NOTIMPL);
  EXPECT_EQ(tip, nullptr);
}

TEST_F(FlyOutTest, TheFlyOutIsNotInvokedAndAChildHasNoChildren) {
  const auto flyOut = library_.NewFlyOut();
  StandInArray selection({L"C:\\a.txt"});
  EXPECT_EQ(flyOut.Get()->Invoke(&selection, nullptr), E_NOTIMPL);
  EXPECT_EQ(selection.Questions(), 0);
  IEnumExplorerCommand* none = reinterpret_cast<IEnumExplorerCommand*>(&none);
  EXPECT_EQ(ChildrenOf(*flyOut.Get())[0].Get()->EnumSubCommands(&none), E_NOTIMPL);
  EXPECT_EQ(none, nullptr);
}

TEST_F(FlyOutTest, AMissingPlaceForTheAnswerIsAnErrorAndNoCrash) {
  const auto flyOut = library_.NewFlyOut();
  const auto child = std::move(ChildrenOf(*flyOut.Get())[0]);
  for (IExplorerCommand* command : {flyOut.Get(), child.Get()}) {
    EXPECT_EQ(command->GetTitle(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(command->GetIcon(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(command->GetToolTip(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(command->GetCanonicalName(nullptr), E_POINTER);
    EXPECT_EQ(command->GetState(nullptr, TRUE, nullptr), E_POINTER);
    EXPECT_EQ(command->GetFlags(nullptr), E_POINTER);
    EXPECT_EQ(command->EnumSubCommands(nullptr), E_POINTER);
  }
}

// ---- The enumerator

TEST_F(FlyOutTest, TheEnumeratorGivesAsManyAsThereAre) {
  const auto flyOut = library_.NewFlyOut();
  const auto enumerator = EnumeratorOf(*flyOut.Get());
  IExplorerCommand* children[6] = {};
  ULONG fetched = 6;
  EXPECT_EQ(enumerator.Get()->Next(3, children, &fetched), S_OK);
  EXPECT_EQ(fetched, 3u);
  EXPECT_EQ(enumerator.Get()->Next(3, children + 3, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 1u);
  EXPECT_EQ(enumerator.Get()->Next(1, children + 4, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 0u);
  EXPECT_EQ(enumerator.Get()->Next(0, nullptr, &fetched), S_OK);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(ExplorerCommandPointer(children[i])) << i;
  EXPECT_EQ(children[4], nullptr);
}

TEST_F(FlyOutTest, TheEnumeratorSkipsAndBeginsAnew) {
  const auto flyOut = library_.NewFlyOut();
  const auto enumerator = EnumeratorOf(*flyOut.Get());
  EXPECT_EQ(enumerator.Get()->Skip(2), S_OK);
  EXPECT_EQ(NextTitle(*enumerator.Get()), L"Remove from this device");
  EXPECT_EQ(enumerator.Get()->Skip(2), S_FALSE);
  EXPECT_EQ(NextTitle(*enumerator.Get()), L"");
  EXPECT_EQ(enumerator.Get()->Reset(), S_OK);
  EXPECT_EQ(NextTitle(*enumerator.Get()), L"Sync to this device");
  EXPECT_EQ(enumerator.Get()->Skip(0xFFFFFFFF), S_FALSE);
}

TEST_F(FlyOutTest, ACloneStandsWhereItsOriginalDidAndGoesItsOwnWay) {
  const auto flyOut = library_.NewFlyOut();
  const auto enumerator = EnumeratorOf(*flyOut.Get());
  EXPECT_EQ(enumerator.Get()->Skip(1), S_OK);
  UniqueCom<IEnumExplorerCommand> clone;
  EXPECT_EQ(enumerator.Get()->Clone(clone.Out()), S_OK);
  EXPECT_EQ(NextTitle(*clone.Get()), L"Cancel receiving");
  EXPECT_EQ(NextTitle(*clone.Get()), L"Remove from this device");
  EXPECT_EQ(NextTitle(*enumerator.Get()), L"Cancel receiving");
}

TEST_F(FlyOutTest, TheEnumeratorRefusesWhatItCannotAnswer) {
  const auto flyOut = library_.NewFlyOut();
  const auto enumerator = EnumeratorOf(*flyOut.Get());
  IExplorerCommand* children[2] = {};
  EXPECT_EQ(enumerator.Get()->Next(2, children, nullptr), E_POINTER);
  EXPECT_EQ(enumerator.Get()->Next(1, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(enumerator.Get()->Clone(nullptr), E_POINTER);
  EXPECT_EQ(NextTitle(*enumerator.Get()), L"Sync to this device") << "nothing was handed out";
  UniqueCom<IUnknown> other;
  EXPECT_EQ(enumerator.Get()->QueryInterface(IID_IExplorerCommand, reinterpret_cast<void**>(other.Out())),
            E_NOINTERFACE);
}

}  // namespace
}  // namespace veskard::test

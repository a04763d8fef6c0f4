// The built library through its exports, as a host sees it.
#include <gmock/gmock.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <array>
#include <functional>

#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/shellext/module/LogFixture.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/RegistrySnapshot.h"

namespace veskard {
namespace {

using Microsoft::WRL::ComPtr;
using ::testing::ElementsAre;

constexpr unsigned kMenuIndices[] = {0, 5};
constexpr unsigned kIconIndices[] = {1, 6};
constexpr unsigned kServedIndices[] = {0, 1, 5, 6};

class LibraryTest : public test::LogFixture {
 protected:
  ComPtr<IClassFactory> Factory(unsigned index) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(library_.DllGetClassObject(ClassId(index), IID_PPV_ARGS(&factory)), S_OK) << index;
    return factory;
  }

  ComPtr<IUnknown> Object(unsigned index) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(Factory(index)->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK) << index;
    return object;
  }

  test::ExtensionLibrary library_;
};

// ---- DllGetClassObject

TEST_F(LibraryTest, IndicesZeroAndFiveMakeContextMenus) {
  for (const unsigned index : kMenuIndices) {
    ComPtr<IContextMenu> menu;
    EXPECT_EQ(Factory(index)->CreateInstance(nullptr, IID_PPV_ARGS(&menu)), S_OK);
    ComPtr<IPersistFile> file;
    EXPECT_EQ(Factory(index)->CreateInstance(nullptr, IID_PPV_ARGS(&file)), E_NOINTERFACE);
  }
}

TEST_F(LibraryTest, IndicesOneAndSixMakeIconHandlers) {
  for (const unsigned index : kIconIndices) {
    ComPtr<IPersistFile> file;
    EXPECT_EQ(Factory(index)->CreateInstance(nullptr, IID_PPV_ARGS(&file)), S_OK);
    ComPtr<IContextMenu> menu;
    EXPECT_EQ(Factory(index)->CreateInstance(nullptr, IID_PPV_ARGS(&menu)), E_NOINTERFACE);
  }
}

TEST_F(LibraryTest, OtherIndicesAreRefused) {
  for (const unsigned index : {2u, 3u, 4u, 7u, 255u}) {
    void* out = this;
    EXPECT_EQ(library_.DllGetClassObject(ClassId(index), IID_IClassFactory, &out), HRESULT(0x80040111));
    EXPECT_EQ(out, nullptr);
  }
}

TEST_F(LibraryTest, IdentifiersThatDifferInOneByteAreRefused) {
  for (size_t byte = 0; byte < sizeof(GUID); ++byte) {
    GUID id = ClassId(kContextMenuClass);
    reinterpret_cast<BYTE*>(&id)[byte] ^= 0x40;
    void* out = this;
    EXPECT_EQ(library_.DllGetClassObject(id, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE) << byte;
    EXPECT_EQ(out, nullptr);
  }
}

TEST_F(LibraryTest, AFactoryIsAnsweredAsUnknownToo) {
  for (const unsigned index : kServedIndices) {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(library_.DllGetClassObject(ClassId(index), IID_PPV_ARGS(&unknown)), S_OK);
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(unknown.As(&factory), S_OK);
    EXPECT_EQ(static_cast<void*>(factory.Get()), unknown.Get());
  }
}

TEST_F(LibraryTest, FactoriesAnswerNoOtherInterface) {
  for (const unsigned index : kServedIndices)
    for (const IID& iid : {IID_IContextMenu, IID_IPersistFile, IID_IMarshal}) {
      void* out = this;
      EXPECT_EQ(library_.DllGetClassObject(ClassId(index), iid, &out), HRESULT(0x80004002));
      EXPECT_EQ(out, nullptr);
    }
}

TEST_F(LibraryTest, AnUnknownClassIsRefusedBeforeItsInterface) {
  void* out = this;
  EXPECT_EQ(library_.DllGetClassObject(ClassId(2), IID_IMarshal, &out), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(out, nullptr);
}

TEST_F(LibraryTest, NowhereToAnswerIsRefused) {
  EXPECT_EQ(library_.DllGetClassObject(ClassId(5), IID_IClassFactory, nullptr), E_POINTER);
}

TEST_F(LibraryTest, EveryCallMakesAFactoryOfItsOwnWithOneReference) {
  for (const unsigned index : kServedIndices) {
    const ComPtr<IClassFactory> first = Factory(index);
    ComPtr<IClassFactory> second = Factory(index);
    EXPECT_NE(first.Get(), second.Get());
    EXPECT_EQ(second->AddRef(), 2u);
    EXPECT_EQ(second->Release(), 1u);
    EXPECT_EQ(second.Detach()->Release(), 0u);
  }
}

// ---- Factories and objects

TEST_F(LibraryTest, AggregationIsRefused) {
  for (const unsigned index : kServedIndices) {
    const ComPtr<IClassFactory> factory = Factory(index);
    void* out = this;
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &out), HRESULT(0x80040110));
    EXPECT_EQ(out, nullptr);
  }
}

TEST_F(LibraryTest, AnUnknownInterfaceOfANewObjectLeavesNull) {
  for (const unsigned index : kServedIndices) {
    void* out = this;
    EXPECT_EQ(Factory(index)->CreateInstance(nullptr, IID_IMarshal, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
  }
}

TEST_F(LibraryTest, LockServerSaysOkAndChangesNothing) {
  for (const unsigned index : kServedIndices) {
    const ComPtr<IClassFactory> factory = Factory(index);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(factory->AddRef(), 2u);
    EXPECT_EQ(factory->Release(), 1u);
  }
}

TEST_F(LibraryTest, ObjectsOutliveTheirFactory) {
  for (const unsigned index : kServedIndices) {
    const ComPtr<IUnknown> object = Object(index);
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);
  }
}

/// What a class answers: its second interface is also its identity.
struct Faces {
  unsigned index;
  IID primary;
  IID second;
  std::vector<IID> refused;
};

class LibraryFacesTest : public LibraryTest, public ::testing::WithParamInterface<Faces> {};

TEST_P(LibraryFacesTest, UnknownIsTheSecondInterface) {
  const ComPtr<IUnknown> object = Object(GetParam().index);
  ComPtr<IUnknown> primary, second, identity;
  ASSERT_EQ(object->QueryInterface(GetParam().primary, &primary), S_OK);
  ASSERT_EQ(object->QueryInterface(GetParam().second, &second), S_OK);
  for (IUnknown* face : {object.Get(), primary.Get(), second.Get()}) {
    ASSERT_EQ(face->QueryInterface(IID_IUnknown, &identity), S_OK);
    EXPECT_EQ(identity.Get(), second.Get());
  }
  EXPECT_NE(primary.Get(), second.Get());
}

TEST_P(LibraryFacesTest, EachAnswerIsOneReferenceSharedByBothFaces) {
  const ComPtr<IUnknown> object = Object(GetParam().index);
  ComPtr<IUnknown> primary, second;
  ASSERT_EQ(object->QueryInterface(GetParam().primary, &primary), S_OK);
  ASSERT_EQ(primary->QueryInterface(GetParam().second, &second), S_OK);
  EXPECT_EQ(primary->AddRef(), 4u);
  EXPECT_EQ(second->AddRef(), 5u);
  EXPECT_EQ(primary->Release(), 4u);
  EXPECT_EQ(second->Release(), 3u);
}

TEST_P(LibraryFacesTest, AnythingElseIsRefusedAndNulled) {
  const ComPtr<IUnknown> object = Object(GetParam().index);
  for (const IID& iid : GetParam().refused) {
    void* out = this;
    EXPECT_EQ(object->QueryInterface(iid, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
  }
  EXPECT_EQ(object->AddRef(), 2u);
  EXPECT_EQ(object->Release(), 1u);
}

const std::vector<IID> kNoContextMenu = {IID_IPersistFile,  IID_IExtractIconW, IID_IContextMenu2,
                                         IID_IContextMenu3, IID_IMarshal,      IID_IClassFactory};
const std::vector<IID> kNoIconHandler = {IID_IPersist,      IID_IContextMenu, IID_IShellExtInit,
                                         IID_IExtractIconA, IID_IMarshal,     IID_IClassFactory};
INSTANTIATE_TEST_SUITE_P(AllClasses, LibraryFacesTest,
                         ::testing::Values(Faces{0, IID_IContextMenu, IID_IShellExtInit, kNoContextMenu},
                                           Faces{1, IID_IPersistFile, IID_IExtractIconW, kNoIconHandler},
                                           Faces{5, IID_IContextMenu, IID_IShellExtInit, kNoContextMenu},
                                           Faces{6, IID_IPersistFile, IID_IExtractIconW, kNoIconHandler}),
                         [](const auto& tested) { return "Index" + std::to_string(tested.param.index); });

// ---- The other exports

TEST_F(LibraryTest, ExtensionVersionIsTwo) {
  DWORD version = 0;
  EXPECT_EQ(library_.GetExtVersion(&version), S_OK);
  EXPECT_EQ(version, 2u);
}

TEST_F(LibraryTest, TheStandardRegistrationPairDoesNothing) {
  const test::RegistrySnapshot before = test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE);
  EXPECT_EQ(library_.DllRegisterServer(), S_OK);
  EXPECT_EQ(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE), before);
}

TEST_F(LibraryTest, NorDoesItChangeWhatIsRegistered) {
  ASSERT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  const test::RegistrySnapshot before = test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE);
  ASSERT_EQ(before, Written(TenRows(test::ExtensionLibraryPath())));
  EXPECT_EQ(library_.DllRegisterServer(), S_OK);
  EXPECT_EQ(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE), before);
  EXPECT_EQ(library_.DllUnregisterServer(), S_OK);
  EXPECT_EQ(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE), before);
}

TEST_F(LibraryTest, VersionResourceNamesProductAndVersion) {
  const std::wstring path = test::ExtensionLibraryPath();
  std::vector<BYTE> resource(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
  ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()));
  UINT size = 0;
  VS_FIXEDFILEINFO* fixed = nullptr;
  ASSERT_TRUE(::VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&fixed), &size));
  EXPECT_EQ(fixed->dwFileVersionMS, DWORD{kVersionMajor << 16 | kVersionMinor});
  EXPECT_EQ(fixed->dwFileVersionLS, DWORD{kVersionPatch << 16});
  EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
  EXPECT_EQ(fixed->dwProductVersionLS, fixed->dwFileVersionLS);
  const auto text = [&](const std::wstring& name) {
    wchar_t* value = nullptr;
    UINT length = 0;
    ::VerQueryValueW(resource.data(), (L"\\StringFileInfo\\040904B0\\" + name).c_str(),
                     reinterpret_cast<void**>(&value), &length);
    return value == nullptr ? std::wstring() : std::wstring(value);
  };
  EXPECT_EQ(text(L"ProductName"), kAgentName);
  EXPECT_EQ(text(L"ProductVersion"), L"2.7.2");
  EXPECT_EQ(text(L"FileVersion"), L"2.7.2");
  EXPECT_EQ(text(L"OriginalFilename"), L"VeskardShellExt.dll");
}

// ---- The log through the module's life

TEST_F(LibraryTest, TheFirstClassObjectOpensTheLogAndUnloadingEndsIt) {
  EXPECT_THAT(Messages(), ElementsAre());
  Factory(5);
  Factory(6);
  EXPECT_THAT(Messages(), ElementsAre(L"=== start ==="));
  library_.Unload();
  EXPECT_THAT(Messages(), ElementsAre(L"=== start ===", L"==== end ===="));
}

TEST_F(LibraryTest, ARefusedClassOpensTheLogToo) {
  void* out = nullptr;
  library_.DllGetClassObject(ClassId(2), IID_IUnknown, &out);
  EXPECT_THAT(Messages(), ElementsAre(L"=== start ==="));
}

TEST_F(LibraryTest, TheSwitchIsReadAgainByEveryFactoryAndObject) {
  SetSwitch(0);
  const ComPtr<IClassFactory> factory = Factory(5);
  SetSwitch(1);
  ComPtr<IUnknown> object;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
  EXPECT_THAT(Messages(), ElementsAre(L"=== start ==="));
  SetSwitch(0);
  object.Reset();
  EXPECT_THAT(Messages(), ElementsAre(L"=== start ===", L"==== end ===="));
}

// ---- GDI+

class LibraryGdiplusTest : public LibraryTest {
 protected:
  LibraryGdiplusTest()
      : start_(library_.Module(), "GdiplusStartup", &CountingStart),
        stop_(library_.Module(), "GdiplusShutdown", &CountingStop) {
    self_ = this;
  }

  /// An icon handler that has composed an icon, or tried to.
  ComPtr<IUnknown> DrawnIcon(bool expected = true) {
    const ComPtr<IUnknown> object = Object(6);
    ComPtr<IPersistFile> file;
    ComPtr<IExtractIconW> icons;
    EXPECT_EQ(object.As(&file), S_OK);
    EXPECT_EQ(object->QueryInterface(IID_IExtractIconW, &icons), S_OK);
    EXPECT_EQ(file->Load(L"C:\\report.txt.ghpl", 0), S_OK);
    UniqueIcon large, small;
    EXPECT_EQ(icons->Extract(nullptr, 0, large.Out(), small.Out(), 0x00100020), S_OK);
    EXPECT_EQ(static_cast<bool>(large), expected);
    EXPECT_EQ(static_cast<bool>(small), expected);
    return object;
  }

  int starts = 0;
  int stops = 0;
  bool refuse = false;

 private:
  using Start = int WINAPI(ULONG_PTR*, const void*, void*);
  using Stop = void WINAPI(ULONG_PTR);

  static int WINAPI CountingStart(ULONG_PTR* token, const void* input, void* output) {
    ++self_->starts;
    return self_->refuse ? 1 : self_->start_.CallOriginal(token, input, output);
  }
  static void WINAPI CountingStop(ULONG_PTR token) {
    ++self_->stops;
    self_->stop_.CallOriginal(token);
  }

  inline static LibraryGdiplusTest* self_ = nullptr;
  test::FunctionPatch<Start> start_;
  test::FunctionPatch<Stop> stop_;
};

TEST_F(LibraryGdiplusTest, ObjectsThatDrawNothingDoNotStartIt) {
  for (const unsigned index : kServedIndices) Object(index);
  EXPECT_EQ(starts, 0);
  EXPECT_EQ(stops, 0);
}

TEST_F(LibraryGdiplusTest, TwoIconHandlersShareOneStart) {
  ComPtr<IUnknown> first = DrawnIcon();
  ComPtr<IUnknown> second = DrawnIcon();
  EXPECT_EQ(starts, 1);
  first.Reset();
  EXPECT_EQ(stops, 0);
  second.Reset();
  EXPECT_EQ(stops, 1);
}

TEST_F(LibraryGdiplusTest, TheFirstDrawingStartsAndTheLastObjectOfEitherClassStops) {
  for (const unsigned other : kServedIndices)
    for (const bool inOrder : {true, false}) {
      starts = stops = 0;
      std::array<ComPtr<IUnknown>, 2> objects = {Object(other), DrawnIcon()};
      EXPECT_EQ(starts, 1);
      objects[inOrder ? 0 : 1].Reset();
      EXPECT_EQ(stops, 0);
      objects[inOrder ? 1 : 0].Reset();
      EXPECT_EQ(stops, 1);
    }
}

TEST_F(LibraryGdiplusTest, AFailingStartIsSurvivedAndTriedAgain) {
  refuse = true;
  DrawnIcon(false).Reset();
  const int tried = starts;
  EXPECT_GT(tried, 0);
  EXPECT_EQ(stops, 0);
  refuse = false;
  DrawnIcon().Reset();
  EXPECT_EQ(starts, tried + 1);
  EXPECT_EQ(stops, 1);
}

}  // namespace
}  // namespace veskard

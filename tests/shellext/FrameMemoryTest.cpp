// Memory that ends, at every single allocation of the frame and the log.
#include <gmock/gmock.h>

#include <filesystem>
#include <functional>

#include "shellext/ClassIds.h"
#include "shellext/ClassObjects.h"
#include "shellext/Registration.h"
#include "shellext/module/DiagnosticLog.h"
#include "shellext/module/Log.h"
#include "shellext/module/Module.h"
#include "tests/shellext/module/LogFixture.h"
#include "tests/support/Faults.h"

namespace veskard {
namespace {

namespace fs = std::filesystem;
using test::FailEachAllocation;
using test::LiveBlocks;
using ::testing::ElementsAre;

constexpr wchar_t kStart[] = L"=== start ===";
constexpr uint64_t kThreshold = 104'857'600;

class FrameMemoryTest : public test::LogFixture {
 protected:
  ~FrameMemoryTest() override { CloseLogAtDetach(Detach::kUnload); }

  void Begin() {
    CloseLogAtDetach(Detach::kUnload);
    fs::remove(File());
    fs::remove(OldFile());
  }
};

TEST_F(FrameMemoryTest, ALineIsLostAndTheNextOneWritten) {
  CreateLog();
  const size_t failed = FailEachAllocation([] { Log(L"%s is %d", L"a line that needs the heap", 5); },
                                           [&](size_t number, bool threw, size_t blocks) {
                                             EXPECT_FALSE(threw) << number;
                                             EXPECT_EQ(LiveBlocks(), blocks) << number;
                                           });
  EXPECT_GT(failed, 0u);
  Log(L"and on");
  const std::vector<std::wstring> messages = Messages();
  EXPECT_EQ(messages.front(), kStart);
  EXPECT_EQ(messages.back(), L"and on");
}

TEST_F(FrameMemoryTest, CreationLeavesNoLogOrOneThatWorks) {
  const size_t failed = FailEachAllocation(
      [] {
        CreateLog();
        CloseLogAtDetach(Detach::kUnload);
      },
      [&](size_t number, bool threw, size_t blocks) {
        EXPECT_FALSE(threw) << number;
        EXPECT_EQ(LiveBlocks(), blocks) << number;
        EXPECT_FALSE(IsLogEnabled()) << number;
      });
  EXPECT_GT(failed, 3u);
  Begin();
  CreateLog();
  EXPECT_THAT(Messages(), ElementsAre(kStart));
}

TEST_F(FrameMemoryTest, SwitchingOnFailsAndIsTriedAgainOrSucceeds) {
  SetSwitch(0);
  CreateLog();
  SetSwitch(1);
  size_t off = 0;
  const size_t failed = FailEachAllocation([] { RefreshLogState(); },
                                           [&](size_t number, bool threw, size_t) {
                                             EXPECT_FALSE(threw) << number;
                                             off += IsLogEnabled() ? 0u : 1u;
                                             SetSwitch(0);
                                             RefreshLogState();
                                             SetSwitch(1);
                                           });
  EXPECT_GT(failed, off);
  EXPECT_GT(off, 0u);
  EXPECT_TRUE(RefreshLogState());
}

/// Calls scenario(number) for allocation number 1, 2, ... until a scenario, which
/// answers whether its allocation was failed, takes fewer; at least `least` of them.
template <class Scenario>
void ForEachAllocation(size_t least, const Scenario& scenario) {
  size_t number = 1;
  while (scenario(number)) ++number;
  EXPECT_GT(number, least);
}

TEST_F(FrameMemoryTest, SwitchingOffClosesTheFileWhateverBecomesOfTheEndLine) {
  ForEachAllocation(2, [&](size_t number) {
    Begin();
    SetSwitch(1);
    CreateLog();
    SetSwitch(0);
    bool happened = false;
    {
      const test::ArmedFault failing(test::Allocation(number));
      RefreshLogState();
      happened = failing.Happened();
    }
    EXPECT_FALSE(IsLogEnabled());
    const UniqueFile alone(
        ::CreateFileW(File().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(alone) << "still open at allocation " << number;
    return happened;
  });
}

TEST_F(FrameMemoryTest, ARotationIsSurvived) {
  ForEachAllocation(10, [&](size_t number) {
    Begin();
    CreateLog();
    fs::resize_file(File(), kThreshold);
    bool happened = false;
    {
      const test::ArmedFault failing(test::Allocation(number));
      Log(L"one too many");
      happened = failing.Happened();
    }
    // Rotated now, at the next line, or closed because the new file could not be
    // opened; the next reading of the switch opens the last.
    Log(L"next");
    EXPECT_TRUE(RefreshLogState()) << number;
    EXPECT_LE(fs::file_size(File()), kThreshold) << number;
    return happened;
  });
}

TEST_F(FrameMemoryTest, ClassObjectsAndTheirObjectsEndWithACode) {
  PrepareModule();
  for (const unsigned index : {kContextMenuClass, kFileIconClass}) {
    const auto createAndRelease = [&] {
      IClassFactory* factory = nullptr;
      if (GetClassObject(ClassId(index), IID_IClassFactory, reinterpret_cast<void**>(&factory)) != S_OK)
        return;
      IUnknown* object = nullptr;
      const HRESULT result =
          factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object));
      factory->Release();
      if (SUCCEEDED(result))
        object->Release();
      else if (result == E_OUTOFMEMORY && object == nullptr)
        throw std::bad_alloc();
    };
    createAndRelease();  // what the process keeps from the first time
    const size_t failed = FailEachAllocation(createAndRelease, [&](size_t number, bool, size_t blocks) {
      EXPECT_EQ(LiveBlocks(), blocks) << number;
      EXPECT_EQ(ModuleLockCount(), 0u) << number;
    });
    EXPECT_GT(failed, 1u);
  }
}

TEST_F(FrameMemoryTest, RegistrationEndsAndTheNextOneSucceeds) {
  size_t failures = 0;
  const auto count = [&](size_t, bool threw, size_t) { failures += threw ? 1u : 0u; };
  EXPECT_EQ(FailEachAllocation([] { Install(true, L"S"); }, count), failures);
  EXPECT_GT(failures, 0u);
  EXPECT_EQ(Install(true, L"S"), S_OK);
}

}  // namespace
}  // namespace veskard

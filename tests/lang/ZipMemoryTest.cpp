// Reading an archive while each request for memory fails in turn, minizip's and
// zlib's own among them.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <new>

#include "lang/ZipReader.h"
#include "tests/lang/ZipBuilder.h"
#include "tests/support/ImportPatch.h"

namespace veskard {
namespace {

/// Stands in front of this program's memory functions while it lives. One at a time.
class MemoryShortage {
 public:
  explicit MemoryShortage(int failing) : failing_(failing) { current = this; }

  int Requests() const { return requests_; }
  int Taken() const { return taken_; }  // and not given back

 private:
  static void* Allocate(size_t size) {
    if (++current->requests_ == current->failing_) {
      errno = ENOMEM;
      return nullptr;
    }
    ++current->taken_;
    return current->allocate_.CallOriginal(size);
  }
  static void Free(void* block) {
    if (block != nullptr) --current->taken_;
    current->free_.CallOriginal(block);
  }

  static MemoryShortage* current;
  int failing_;
  int requests_ = 0;
  int taken_ = 0;
  test::FunctionPatch<void*(size_t)> allocate_{nullptr, "malloc", &Allocate};
  test::FunctionPatch<void(void*)> free_{nullptr, "free", &Free};
};

MemoryShortage* MemoryShortage::current = nullptr;

enum class Outcome { kRead, kRefused, kShortage };

Outcome ReadBothMembers(const std::string& archive) {
  try {
    ZipReader reader(archive);
    std::string deflated, stored;
    const bool isRead = reader.ReadMember("deflated", deflated).Succeeded() &&
                        reader.ReadMember("stored", stored).Succeeded();
    return isRead ? Outcome::kRead : Outcome::kRefused;
  } catch (const std::bad_alloc&) {
    return Outcome::kShortage;
  }
}

// minizip does without some of what it asks for: the archive is then read all the same,
// and never taken for a damaged one.
TEST(ZipMemoryTest, AFailingRequestIsAShortageAndLeavesNoBlock) {
  const std::string text(100'000, 'x');
  const std::string archive = BuildZip(
      {{.name = "deflated", .contents = text}, {.name = "stored", .contents = text, .deflated = false}});
  int requests = 0, shortages = 0;
  for (int failing = 1; failing == 1 || failing <= requests; ++failing) {
    Outcome outcome = Outcome::kRefused;
    int taken = 0;
    {
      const MemoryShortage shortage(failing);
      outcome = ReadBothMembers(archive);
      requests = shortage.Requests();
      taken = shortage.Taken();
    }
    EXPECT_EQ(taken, 0) << "request " << failing;
    EXPECT_NE(outcome, Outcome::kRefused) << "request " << failing;
    shortages += outcome == Outcome::kShortage ? 1 : 0;
  }
  EXPECT_GT(shortages, 6);
}

}  // namespace
}  // namespace veskard

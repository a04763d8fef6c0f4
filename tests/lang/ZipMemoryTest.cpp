// Reading an archive while each request for memory fails in turn, minizip's and
// zlib's own among them.
#include <gtest/gtest.h>

#include <new>

#include "lang/ZipReader.h"
#include "tests/lang/ZipBuilder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

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
  const test::WatchedCalls heap{"malloc", "free"};
  int shortages = 0;
  for (size_t number = 1;; ++number) {
    Outcome outcome = Outcome::kRefused;
    const ptrdiff_t before = heap.Holds(test::Held::kBlock);
    bool isFailed = false;
    {
      const test::ArmedFault failing(test::Allocation(number));
      outcome = ReadBothMembers(archive);
      isFailed = failing.Happened();
    }
    EXPECT_EQ(heap.Holds(test::Held::kBlock), before) << "request " << number;
    EXPECT_NE(outcome, Outcome::kRefused) << "request " << number;
    if (!isFailed) break;
    shortages += outcome == Outcome::kShortage ? 1 : 0;
  }
  EXPECT_GT(shortages, 6);
}

}  // namespace
}  // namespace veskard

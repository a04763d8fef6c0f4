#include "tests/soak/Soak.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "tests/support/ProcessResources.h"
#include "tests/support/RegistrySandbox.h"

namespace veskard::test {
namespace {

constexpr int kWarmUp = 100;

int Rounds() {
  const char* const asked = std::getenv("VESKARD_SOAK");
  return asked != nullptr && *asked != '\0' ? std::atoi(asked) : 500;
}

ptrdiff_t PrivateKilobytes() {
  return static_cast<ptrdiff_t>(PrivateBytes() / 1024);
}

// A Markdown table, which scripts/soak.sh picks out.
void PrintHeading(const std::string& what) {
  std::cout
      << "\n| " << what
      << " | heap blocks | bytes in them | kernel handles | drawing objects | TLS indices | private KB |\n"
         "|---|---|---|---|---|---|---|"
      << std::endl;
}

void Print(const std::string& when, const ProcessResources& resources) {
  std::cout << "| " << when << " | " << resources.heapBlocks << " | " << resources.heapBytes << " | "
            << resources.handles << " | " << resources.gdiObjects << " | " << resources.tlsIndices << " | "
            << PrivateKilobytes() << " |" << std::endl;
}

}  // namespace

void SwitchLogFor(int round) {
  constexpr int kBlock = 50;
  if (round % kBlock == 0) SetLogSwitch(round / kBlock % 20 == 0 ? 1 : 0);
}

void ExpectFlat(const std::string& what, const std::function<void(int round)>& round) {
  const int rounds = Rounds();
  for (int i = 0; i < kWarmUp; ++i) round(i);
  const ProcessResources before = CountProcessResources();
  const ptrdiff_t memoryBefore = PrivateKilobytes();
  PrintHeading(what);
  Print("at the start", before);

  for (int i = 0; i < rounds && !testing::Test::HasFailure(); ++i) {
    round(i);
    if (i > 0 && i % 10'000 == 0) Print("after " + std::to_string(i), CountProcessResources());
  }

  const ProcessResources after = CountProcessResources();
  Print("at the end", after);
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_EQ(after.gdiObjects, before.gdiObjects);
  EXPECT_EQ(after.tlsIndices, before.tlsIndices);
  // The system's own caches grow and shrink a little. Among a hundred thousand rounds a block
  // that is lost in one of eight hundred shows, in a short soak one in twenty.
  EXPECT_LT(after.heapBlocks, before.heapBlocks + 20 + static_cast<size_t>(rounds) / 1000);
  EXPECT_LT(after.heapBytes, before.heapBytes + 32 * 1024 + static_cast<size_t>(rounds));
  const ptrdiff_t memoryAfter = PrivateKilobytes();
  // Ten bytes a round, and room for what the system keeps for itself.
  EXPECT_LT(memoryAfter, memoryBefore + 1024 + rounds / 100);
}

}  // namespace veskard::test

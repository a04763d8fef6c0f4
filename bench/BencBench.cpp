#include <cstdio>
#include <iterator>
#include <libtorrent/bdecode.hpp>
#include <libtorrent/bencode.hpp>
#include <libtorrent/entry.hpp>
#include <string>
#include <vector>

#include "benc/BencParser.h"
#include "benc/BencWriter.h"
#include "bench/Benches.h"
#include "bench/Inputs.h"
#include "bench/Measure.h"
#include "tests/support/Faults.h"

namespace veskard::bench {
namespace {

constexpr int kDepthLimit = 1000;
constexpr int kTokenLimit = 10000000;

struct Input {
  const char* name;
  std::string text;
};

std::vector<Input> Inputs() {
  return {{"3 MB of many small values", ManySmallValues()},
          {"four huge strings", FewHugeStrings()},
          {"folder record", FolderRecord()},
          {"placeholder mark", PlaceholderMark()},
          {"command message", CommandMessage()}};
}

BencValue Parse(std::string& text) {
  BencValue value;
  BencParser parser(text.data(), text.data() + text.size());
  if (!ParseBencoded(value, parser)) std::abort();
  return value;
}

lt::bdecode_node ParseView(const std::string& text) {
  lt::error_code error;
  lt::bdecode_node view = lt::bdecode(text, error, nullptr, kDepthLimit, kTokenLimit);
  if (error) std::abort();
  return view;
}

std::string Numbered(const char* format, double number) {
  char text[32];
  std::snprintf(text, sizeof(text), format, number);
  return text;
}

size_t CountValues(const BencValue& value) {
  size_t count = 1;
  for (const BencValue& item : value.Items()) count += CountValues(item);
  for (const BencEntry entry : value.Entries()) count += CountValues(entry.value);
  return count;
}

// Parsing includes freeing what was parsed.
void BenchParse(Input& input) {
  PrintRatios(input.name, {[&] { Keep(Parse(input.text)); }, [&] { Keep(lt::entry(ParseView(input.text))); },
                           [&] { Keep(ParseView(input.text)); }});
}

void BenchWrite(Input& input) {
  const BencValue value = Parse(input.text);
  const lt::entry tree(ParseView(input.text));
  const Run ours = [&] {
    ByteBuilder out;
    WriteBencoded(out, value);
    Keep(out);
  };
  const Run others = [&] {
    std::vector<char> out;
    lt::bencode(std::back_inserter(out), tree);
    Keep(out);
  };
  PrintRatios(input.name, {ours, others});
}

void BenchCopy(Input& input) {
  const BencValue value = Parse(input.text);
  const lt::entry tree(ParseView(input.text));
  PrintRatios(input.name, {[&] { Keep(BencValue(value)); }, [&] { Keep(lt::entry(tree)); }});
}

void PrintBlocks(Input& input) {
  const size_t values = CountValues(Parse(input.text));
  const auto blocksOf = [&](const Run& parse) {
    return Numbered("%.2f", static_cast<double>(test::AllocationsOf(parse)) / static_cast<double>(values));
  };
  PrintCells({std::string(input.name) + ", " + std::to_string(values) + " values",
              blocksOf([&] { Keep(Parse(input.text)); }),
              blocksOf([&] { Keep(lt::entry(ParseView(input.text))); }),
              blocksOf([&] { Keep(ParseView(input.text)); })});
}

}  // namespace

void RunBencBenches() {
  std::vector<Input> inputs = Inputs();
  PrintHeading("Parsing into a tree, and freeing it", "Input", {"libtorrent's tree", "libtorrent's view"});
  for (Input& input : inputs) BenchParse(input);
  PrintHeading("Writing a tree", "Input", {"libtorrent's `bencode`"});
  for (Input& input : inputs) BenchWrite(input);
  PrintHeading("Copying a tree, and freeing the copy", "Input", {"libtorrent's tree"});
  for (Input& input : inputs) BenchCopy(input);
  PrintHeading("Heap blocks for each parsed value", "Input", {"libtorrent's tree", "libtorrent's view"});
  for (Input& input : inputs) PrintBlocks(input);
}

}  // namespace veskard::bench

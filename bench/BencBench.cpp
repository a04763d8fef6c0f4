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
  return {{"torrent of many small values", ManySmallValues()},
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
  PrintRatios(input.name, {{"ours", [&] { Keep(Parse(input.text)); }},
                           {"libtorrent tree", [&] { Keep(lt::entry(ParseView(input.text))); }},
                           {"libtorrent view", [&] { Keep(ParseView(input.text)); }}});
}

void BenchWrite(Input& input) {
  const BencValue value = Parse(input.text);
  const lt::entry tree(ParseView(input.text));
  PrintRatios(input.name, {{"ours",
                            [&] {
                              ByteBuilder out;
                              WriteBencoded(out, value);
                              Keep(out);
                            }},
                           {"libtorrent bencode", [&] {
                              std::vector<char> out;
                              lt::bencode(std::back_inserter(out), tree);
                              Keep(out);
                            }}});
}

void BenchCopy(Input& input) {
  const BencValue value = Parse(input.text);
  const lt::entry tree(ParseView(input.text));
  PrintRatios(input.name, {{"ours", [&] { Keep(BencValue(value)); }},
                           {"libtorrent tree", [&] { Keep(lt::entry(tree)); }}});
}

void PrintBlocks(Input& input) {
  const auto values = static_cast<double>(CountValues(Parse(input.text)));
  const size_t ours = test::AllocationsOf([&] { Keep(Parse(input.text)); });
  const size_t tree = test::AllocationsOf([&] { Keep(lt::entry(ParseView(input.text))); });
  const size_t view = test::AllocationsOf([&] { Keep(ParseView(input.text)); });
  std::printf("  %-36s %8.0f values   ours %s   libtorrent tree %s   libtorrent view %s\n", input.name,
              values, Numbered("%.2f", static_cast<double>(ours) / values).c_str(),
              Numbered("%.2f", static_cast<double>(tree) / values).c_str(),
              Numbered("%.2f", static_cast<double>(view) / values).c_str());
}

}  // namespace

void RunBencBenches() {
  std::vector<Input> inputs = Inputs();
  PrintHeading("Bencode: parsing into a tree, and freeing it");
  for (Input& input : inputs) BenchParse(input);
  PrintHeading("Bencode: writing a tree");
  for (Input& input : inputs) BenchWrite(input);
  PrintHeading("Bencode: copying a tree, and freeing the copy");
  for (Input& input : inputs) BenchCopy(input);
  PrintHeading("Bencode: heap blocks for each parsed value");
  for (Input& input : inputs) PrintBlocks(input);
}

}  // namespace veskard::bench

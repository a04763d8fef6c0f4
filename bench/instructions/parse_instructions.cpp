// parse_instructions, under callgrind: what parsing a few huge strings takes beside one
// copy of their bytes.
#include <cstdlib>
#include <libtorrent/bdecode.hpp>
#include <libtorrent/entry.hpp>
#include <string>

#include "benc/BencParser.h"
#include "bench/Inputs.h"
#include "bench/Measure.h"
#include "bench/instructions/Counted.h"

int main() {
  using namespace veskard;
  std::string text = bench::FewHugeStrings();
  bench::Counted("four huge strings: one copy of the bytes", [&] { bench::Keep(std::string(text)); });
  bench::Counted("four huge strings: our tree, parsed and freed", [&] {
    BencValue value;
    BencParser parser(text.data(), text.data() + text.size());
    if (!ParseBencoded(value, parser)) std::abort();
  });
  bench::Counted("four huge strings: libtorrent's tree, parsed and freed", [&] {
    lt::error_code error;
    const lt::entry tree(lt::bdecode(text, error));
    if (error) std::abort();
  });
}

#include "tools/shellprobe/MarkContent.h"

#include "benc/BencDump.h"
#include "benc/BencParser.h"
#include "fs/util/SyncHandle.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

// Larger ones are no marks; the library does not read them either.
constexpr uint64_t kLargestMark = 16 * 1024 * 1024;

/// Hands the parser's tokens on and remembers where the last good one ended.
class TrackingParser final : public IBencParser {
 public:
  TrackingParser(char* begin, char* end) noexcept : inner_(begin, end), begin_(begin) {}

  BencToken NextToken(const char** text, size_t* length) override {
    const BencToken token = inner_.NextToken(text, length);
    if (token == BencToken::TokError || token == BencToken::TokEndOfInput) return token;
    const size_t closing = token == BencToken::TokInt ? 1 : 0;  // its "e"
    goodBytes_ = static_cast<size_t>(*text - begin_) + *length + closing;
    return token;
  }
  const char* InputEnd() const noexcept override { return inner_.InputEnd(); }

  size_t GoodBytes() const noexcept { return goodBytes_; }

 private:
  BencParser inner_;
  const char* begin_;
  size_t goodBytes_ = 0;
};

std::wstring PlaceOf(const SyncHandle& mark) {
  std::wstring path = mark.Path();
  // A stream's path has the stream's name as its last component.
  if (mark.GetKind() == HandleKind::kStream) path[path.find_last_of(L'\\')] = L':';
  return path;
}

std::string ReadBytes(SyncHandle& mark) {
  const uint64_t size = mark.GetSize(nullptr);
  std::string bytes(size <= kLargestMark ? static_cast<size_t>(size) : 0, '\0');
  bytes.resize(mark.Read(bytes.data(), static_cast<uint32_t>(bytes.size())));
  return bytes;
}

}  // namespace

MarkContent ReadMarkContent(SyncHandle& mark) {
  MarkContent content;
  content.place = PlaceOf(mark);
  std::string bytes = ReadBytes(mark);
  content.size = bytes.size();
  TrackingParser parser(bytes.data(), bytes.data() + bytes.size());
  BencValue value;
  content.bencoded = ParseBencoded(value, parser);
  content.goodBytes = parser.GoodBytes();
  if (!content.bencoded) return content;
  ByteBuilder dump;
  DumpValue(dump, value, 0);
  content.dump = dump.View();
  return content;
}

}  // namespace veskard

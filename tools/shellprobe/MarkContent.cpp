#include "tools/shellprobe/MarkContent.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "benc/BencDump.h"
#include "benc/BencParser.h"
#include "fs/util/SyncHandle.h"
#include "shellext/contextmenu/marks/SyncFolderInspection.h"
#include "tools/common/JsonWriter.h"
#include "tools/common/Utf8.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

// What the library reads of a progress mark.
constexpr size_t kProgressSize = 8;

/// Hands the parser's tokens on and remembers how far they were good. Whoever reads
/// them stops at the first that it cannot use, whether that is malformed itself or
/// well formed in the wrong place; the good ones end where that one begins.
class TrackingParser final : public IBencParser {
 public:
  TrackingParser(char* begin, char* end) noexcept : inner_(begin, end), begin_(begin) {}

  BencToken NextToken(const char** text, size_t* length) override {
    goodBytes_ = tokenEnd_;
    const BencToken token = inner_.NextToken(text, length);
    if (token == BencToken::TokError || token == BencToken::TokEndOfInput) return token;
    const char* end = *text + *length;
    if (token == BencToken::TokInt && end != InputEnd() && *end == 'e') ++end;
    tokenEnd_ = static_cast<size_t>(end - begin_);
    return token;
  }
  const char* InputEnd() const noexcept override { return inner_.InputEnd(); }

  size_t GoodBytes() const noexcept { return goodBytes_; }

 private:
  BencParser inner_;
  const char* begin_;
  size_t goodBytes_ = 0;  // to the start of the last token
  size_t tokenEnd_ = 0;   // of the last that is well formed
};

std::wstring PlaceOf(const SyncHandle& mark) {
  std::wstring path = mark.Path();
  // A stream's path has the stream's name as its last component.
  if (mark.GetKind() == HandleKind::kStream) path[path.find_last_of(L'\\')] = L':';
  return path;
}

std::string ReadBytes(SyncHandle& mark, uint64_t size) {
  std::string bytes(static_cast<size_t>(size), '\0');
  bytes.resize(mark.Read(bytes.data(), static_cast<uint32_t>(bytes.size())));
  return bytes;
}

std::string HexBytes(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    char digits[4] = {};
    std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned>(static_cast<unsigned char>(c)));
    text += digits;
  }
  if (!text.empty()) text.pop_back();
  return text;
}

void ReadProgress(MarkContent& content, SyncHandle& mark) {
  const std::string bytes = ReadBytes(mark, std::min<uint64_t>(content.size, kProgressSize));
  content.kind = bytes.size() == kProgressSize ? MarkKind::kProgress : MarkKind::kTooShort;
  content.dump = HexBytes(bytes);
}

std::string Dump(const BencValue& value) {
  ByteBuilder dump;
  DumpValue(dump, value, 0);
  return std::string(dump.View());
}

// The entry as the library's dump has it, which is made for the log: in hexadecimal.
std::string DumpedOwner(std::string_view owner) {
  BencValue alone = BencValue::MakeDict();
  alone.Insert("owner", BencValue::FromString(owner));
  const std::string dump = Dump(alone);
  return dump.substr(2, dump.size() - 4);  // without the braces and their blanks
}

std::string ReadableOwner(std::string_view owner) {
  return "\"owner\": " + (IsUtf8(owner) ? JsonWriter().String(owner).Text() : "the bytes " + HexBytes(owner));
}

std::string DumpForReader(const BencValue& value) {
  std::string dump = Dump(value);
  const BencValue* const owner = value.Find("owner");
  if (owner == nullptr || owner->GetKind() != BencValue::Kind::String) return dump;
  const std::string dumped = DumpedOwner(owner->AsBytes());
  const std::string readable = ReadableOwner(owner->AsBytes());
  // Quotes within strings are escaped, so that it is found as an entry only.
  for (size_t at = dump.find(dumped); at != std::string::npos; at = dump.find(dumped, at + readable.size())) {
    dump.replace(at, dumped.size(), readable);
  }
  return dump;
}

void ReadBencoded(MarkContent& content, SyncHandle& mark) {
  std::string bytes = ReadBytes(mark, content.size);
  TrackingParser parser(bytes.data(), bytes.data() + bytes.size());
  BencValue value;
  const bool good = ParseBencoded(value, parser);
  if (!good) {
    content.goodBytes = parser.GoodBytes();
    return;
  }
  content.kind = value.GetKind() == BencValue::Kind::Dict ? MarkKind::kDictionary : MarkKind::kOtherValue;
  content.dump = DumpForReader(value);
}

}  // namespace

MarkContent ReadMarkContent(SyncHandle& mark) {
  MarkContent content;
  content.place = PlaceOf(mark);
  content.size = mark.GetSize(nullptr);
  if (IsProgressMark(mark)) {
    ReadProgress(content, mark);
  } else if (content.size > kLargestMark) {
    content.kind = MarkKind::kTooLarge;
  } else {
    ReadBencoded(content, mark);
  }
  return content;
}

}  // namespace veskard

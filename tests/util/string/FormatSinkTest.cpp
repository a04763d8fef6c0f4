#include <algorithm>
#include <climits>

#include "benc/BencValue.h"
#include "tests/support/Faults.h"
#include "tests/util/string/FormatTesting.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

using test::InWidth;
using test::Other;
using test::Own;

template <class Char>
class FormatSinkTest : public test::FormatTest<Char> {
 protected:
  // A sink that remembers every call, to see how the run uses it.
  struct RecordingSink : FormatSink {
    explicit RecordingSink(size_t most) : FormatSink{&Take<Char>, &Take<test::OtherWidth<Char>>, 0, most} {}

    template <class From>
    static void Take(FormatSink& sink, const void* characters, size_t count) {
      auto& self = static_cast<RecordingSink&>(sink);
      std::string piece;
      for (size_t i = 0; i < count; ++i)
        piece += static_cast<char>(static_cast<const From*>(characters)[i] & 0xFF);
      self.pieces.push_back((sizeof(From) == sizeof(Char) ? "" : "other:") + piece);
    }

    std::vector<std::string> pieces;
  };

  template <class... Args>
  std::vector<std::string> Pieces(size_t most, std::string_view format, const Args&... args) {
    const std::vector<FormatArg> slots = {this->Slot(args)...};
    RecordingSink sink(most);
    Run(sink, InWidth<Char>(format).c_str(), FormatArgs(slots.data(), slots.size()));
    written_ = sink.written;
    return sink.pieces;
  }

  static void Run(FormatSink& sink, const char* format, FormatArgs args) { FormatNarrow(sink, format, args); }
  static void Run(FormatSink& sink, const wchar_t* format, FormatArgs args) {
    FormatWide(sink, format, args);
  }

  size_t written_ = 0;
};
TYPED_TEST_SUITE(FormatSinkTest, test::Widths, test::WidthNames);

using Pieces = std::vector<std::string>;

TYPED_TEST(FormatSinkTest, ALiteralRunIsOneWrite) {
  EXPECT_EQ(this->Pieces(100, "one two %d three", 4), (Pieces{"one two ", "4", " three"}));
  EXPECT_EQ(this->written_, 15u);
}

TYPED_TEST(FormatSinkTest, TextOfTheOtherWidthHasAWriteOfItsOwn) {
  EXPECT_EQ(this->Pieces(100, "%s%S", Own{"own"}, Other{"other"}), (Pieces{"own", "other:other"}));
}

TYPED_TEST(FormatSinkTest, EveryWriteIsCutToTheLimit) {
  EXPECT_EQ(this->Pieces(3, "abcdef"), (Pieces{"abc"}));
  EXPECT_EQ(this->Pieces(5, "abc%s", Own{"defg"}), (Pieces{"abc", "de"}));
  EXPECT_EQ(this->written_, 5u);
  EXPECT_EQ(this->Pieces(4, "abc%S", Other{"defg"}), (Pieces{"abc", "other:d"}));
  EXPECT_EQ(this->Pieces(4, "ab%5d", 1), (Pieces{"ab", "  "}));
}

TYPED_TEST(FormatSinkTest, AFullSinkStopsTheRun) {
  EXPECT_EQ(this->Pieces(3, "abc%d%d", 1, 2), (Pieces{"abc"}));
  EXPECT_EQ(this->Pieces(0, "abc"), Pieces{});
  EXPECT_EQ(this->written_, 0u);
}

// A dump takes memory: it shows whether a conversion behind the limit is still made.
TYPED_TEST(FormatSinkTest, NothingIsConvertedBehindTheLimit) {
  const BencodedDict dict;
  TypeParam buffer[4];
  for (const char* text : {"abc%D", "%d%D"}) {
    const auto format = InWidth<TypeParam>(text);
    size_t length = 0;
    EXPECT_EQ(test::AllocationsOf([&] { length = FormatBuffer(buffer, 4, format.c_str(), 123, &dict); }), 0u)
        << text;
    EXPECT_EQ(length, 3u) << text;
  }
}

// --- Bounded arrays ---

TYPED_TEST(FormatSinkTest, AnArrayOfSizeFourReceivesThreeCharactersAndATerminator) {
  TypeParam buffer[6] = {1, 1, 1, 1, 1, 1};
  const auto format = InWidth<TypeParam>("%d");
  EXPECT_EQ(FormatBuffer(buffer, 4, format.c_str(), 123456), 3u);
  EXPECT_EQ(this->Narrowed(std::basic_string<TypeParam>(buffer, 6)), std::string_view("123\0\1\1", 6));
}

TYPED_TEST(FormatSinkTest, ArraysAreExactAtTheirLimits) {
  const auto format = InWidth<TypeParam>("ab%sef%S");
  const auto own = InWidth<TypeParam>("cd");
  const auto other = InWidth<test::OtherWidth<TypeParam>>("gh");
  const std::string whole = "abcdefgh";
  for (size_t size = 1; size <= 12; ++size) {
    std::vector<TypeParam> buffer(size, TypeParam(1));
    const size_t expected = std::min(size - 1, whole.size());
    EXPECT_EQ(FormatBuffer(buffer.data(), size, format.c_str(), own, other), expected);
    EXPECT_EQ(this->Narrowed(std::basic_string<TypeParam>(buffer.data(), expected + 1)),
              whole.substr(0, expected) + '\0');
  }
}

TYPED_TEST(FormatSinkTest, AnArrayOfSizeZeroIsNotTouched) {
  TypeParam untouched = TypeParam(7);
  const auto format = InWidth<TypeParam>("abc");
  EXPECT_EQ(FormatBuffer(&untouched, 0, format.c_str()), 0u);
  EXPECT_EQ(untouched, TypeParam(7));
  EXPECT_EQ(FormatBuffer(static_cast<TypeParam*>(nullptr), 0, format.c_str()), 0u);
}

TYPED_TEST(FormatSinkTest, AnArrayOfSizeOneIsTerminated) {
  TypeParam buffer = TypeParam(7);
  const auto format = InWidth<TypeParam>("abc");
  EXPECT_EQ(FormatBuffer(&buffer, 1, format.c_str()), 0u);
  EXPECT_EQ(buffer, TypeParam());
}

// --- Growing strings ---

TYPED_TEST(FormatSinkTest, StringsHaveNoLimit) {
  const std::string large(100000, 'x');
  EXPECT_EQ(this->Print("%s%s", Own{large}, Own{large}), large + large);
  EXPECT_EQ(this->Print("%100000d", 7), std::string(99999, ' ') + "7");
}

TYPED_TEST(FormatSinkTest, EveryAllocationMayFail) {
  const std::string large(500, 'x');
  const auto own = InWidth<TypeParam>(large);
  const auto other = InWidth<test::OtherWidth<TypeParam>>(large);
  BencodedDict dict;
  for (int i = 0; i < 800; ++i) dict.InsertInt(std::to_string(i).c_str(), i);
  const auto format = InWidth<TypeParam>("%s %S %300d %D");
  std::basic_string<TypeParam> target = InWidth<TypeParam>("before");
  const auto before = target;
  const size_t failed =
      test::FailEachAllocation([&] { target = FormatString(format.c_str(), own, other, 7, &dict); },
                               [&](size_t number, bool threw, size_t blocks) {
                                 EXPECT_TRUE(threw) << number;
                                 EXPECT_EQ(test::LiveBlocks(), blocks) << number;
                                 EXPECT_EQ(target, before) << number;
                               });
  EXPECT_GT(failed, 4u);
  EXPECT_GT(target.size(), 1300u + 4096u);
}

TYPED_TEST(FormatSinkTest, AnArrayIsTerminatedAlsoWhenOutOfMemory) {
  BencodedDict dict;
  for (int i = 0; i < 800; ++i) dict.InsertInt(std::to_string(i).c_str(), i);
  const auto format = InWidth<TypeParam>("abc%D");
  TypeParam buffer[64];
  const auto spoilAndFormat = [&] {
    std::fill_n(buffer, 64, TypeParam(1));
    FormatBuffer(buffer, 64, format.c_str(), &dict);
  };
  const size_t failed = test::FailEachAllocation(spoilAndFormat, [&](size_t number, bool threw, size_t) {
    EXPECT_TRUE(threw) << number;
    EXPECT_EQ(this->Narrowed(std::basic_string<TypeParam>(buffer, 4)), std::string("abc\0", 4)) << number;
  });
  EXPECT_GT(failed, 1u);
}

TYPED_TEST(FormatSinkTest, ArraysTakeNoMemory) {
  TypeParam buffer[200];
  const auto format = InWidth<TypeParam>("%s %d %f %h %Z %a");
  const auto own = InWidth<TypeParam>("text");
  const NetworkAddress address;
  const uint8_t hash[20] = {};
  EXPECT_EQ(test::AllocationsOf([&] {
              FormatBuffer(buffer, 200, format.c_str(), own, 5, 2.5, static_cast<const void*>(hash), 1000,
                           &address);
            }),
            0u);
}

}  // namespace
}  // namespace veskard

// Placeholder icons through COM, and as shellprobe draws them.
#include <shellapi.h>

#include "tests/end_to_end/Registrar.h"
#include "tests/end_to_end/RightClickTest.h"
#include "tests/support/Patched.h"
#include "tests/support/PngReader.h"
#include "tests/support/ToolRun.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtractedIcons.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard::test {
namespace {

class IconTest : public RightClickTest {};

TEST_F(IconTest, APlaceholderHasALargeAndASmallIcon) {
  Root();
  const PlaceholderIcons icons =
      ExtractPlaceholderIcons(ExtensionClasses(), Placeholder(L"Root\\a.txt.ghpl", 45));
  const Picture large = IconPixels(icons.large.Get());
  const Picture small = IconPixels(icons.small.Get());
  EXPECT_GT(large.width, small.width);
  EXPECT_EQ(small.width, ::GetSystemMetrics(SM_CXSMICON));
}

TEST_F(IconTest, ProgressCanBeSeen) {
  Root();
  const auto pixels = [&](const std::wstring& file) {
    return IconPixels(ExtractPlaceholderIcons(ExtensionClasses(), file).large.Get()).pixels;
  };
  const std::vector<uint32_t> without = pixels(Placeholder(L"Root\\a.txt.ghpl"));
  const std::vector<uint32_t> started = pixels(Placeholder(L"Root\\b.txt.ghpl", 5));
  const std::vector<uint32_t> half = pixels(Placeholder(L"Root\\c.txt.ghpl", 50));
  EXPECT_NE(without, started);
  EXPECT_NE(started, half);
  EXPECT_EQ(half, pixels(Placeholder(L"Root\\d.txt.ghpl", 52)));
}

TEST_F(IconTest, OtherFilesHaveNone) {
  try {
    ExtractPlaceholderIcons(ExtensionClasses(), File(L"a.ghpl.txt"));
    FAIL() << "an icon came";
  } catch (const ToolError& error) {
    EXPECT_EQ(error.Code(), kNoIcon);
  }
}

class MissingIconTest : public IconTest {
 protected:
  // The library in this process, with the handler's large icons' or all icons' source gone.
  static HMODULE Library() {
    ExtensionClasses().NewIconHandler();
    return ::GetModuleHandleW(L"VeskardShellExt.dll");
  }
  // What is said of the icon; nothing when it comes.
  std::string Refusal(IconClass which) const {
    try {
      EXPECT_TRUE(ExtractPlaceholderIcon(ExtensionClasses(), file_, which));
    } catch (const ToolError& error) {
      EXPECT_EQ(error.Code(), kNoIcon);
      return error.what();
    }
    return {};
  }

  const std::wstring root_ = Root();
  const std::wstring file_ = Placeholder(L"Root\\a.txt.ghpl", 45);
};

TEST_F(MissingIconTest, OnlyTheOneThatIsAskedForCounts) {
  const Patched<&::SHGetImageList> none(Library(), "SHGetImageList", [](auto, int, REFIID, void** list) {
    *list = nullptr;
    return E_FAIL;
  });
  EXPECT_EQ(Refusal(IconClass::kSmall), "");
  EXPECT_EQ(Refusal(IconClass::kLarge), "the handler could not draw the large icon for " + ToUtf8(file_));
}

TEST_F(MissingIconTest, TheOneThatIsMissingIsNamed) {
  const Patched<&::SHGetFileInfoW> none(Library(), "SHGetFileInfoW", [](auto...) { return DWORD_PTR{0}; });
  EXPECT_EQ(Refusal(IconClass::kSmall), "the handler could not draw the small icon for " + ToUtf8(file_));
}

// --- shellprobe icon ---------------------------------------------------------

class IconCommandTest : public IconTest {
 protected:
  ToolResult Draw(const std::wstring& file, std::vector<std::wstring> options = {}) const {
    options.insert(options.begin(), {L"icon", file, L"--png", picture_});
    return RunTool(L"shellprobe.exe", options);
  }
  // One clear line, the exit code, and no picture.
  void ExpectFailure(const ToolResult& result, DWORD exitCode, const std::string& line) const {
    EXPECT_EQ(result.exitCode, exitCode);
    EXPECT_THAT(result.errors, testing::StartsWith("shellprobe: " + line));
    EXPECT_EQ(result.errors.find('\n') + 1, result.errors.size());
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(::GetFileAttributesW(picture_.c_str()), INVALID_FILE_ATTRIBUTES);
  }

  const std::wstring picture_ = folder_ / L"icon.png";
};

// At 256 pixels the arc's middle line lies 71 pixels around (124, 124).
constexpr int kCentre = 124, kRadius = 71;
constexpr uint32_t kArc = 0xFF00C3FF, kRing = 0xFFB3B3B3;

uint32_t At(const Picture& picture, int x, int y) {
  return picture.pixels[static_cast<size_t>(y * picture.width + x)];
}

TEST_F(IconCommandTest, DrawsWhatAUserSees) {
  Root();
  const std::wstring file = Placeholder(L"Root\\a.txt.ghpl", 50);
  const ToolResult result = Draw(file);
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, ToUtf8(file) + ": 256x256\n");
  const Picture picture = LoadPng(picture_);
  ASSERT_EQ(picture.width, 256);
  ASSERT_EQ(picture.height, 256);
  EXPECT_EQ(At(picture, kCentre + kRadius, kCentre), kArc);
  EXPECT_EQ(At(picture, kCentre - kRadius, kCentre), kRing);
  EXPECT_EQ(At(picture, 0, 0), 0xFFFFFFFFu);
}

TEST_F(IconCommandTest, DrawsTheOtherSizeAndOtherBackgrounds) {
  Root();
  const std::wstring file = Placeholder(L"Root\\a.txt.ghpl", 50);
  EXPECT_EQ(Draw(file, {L"--size", L"small"}).exitCode, 0u);
  EXPECT_EQ(LoadPng(picture_).width, ::GetSystemMetrics(SM_CXSMICON));
  EXPECT_EQ(Draw(file, {L"--background", L"dark"}).exitCode, 0u);
  EXPECT_EQ(At(LoadPng(picture_), 0, 0), 0xFF202020u);
  EXPECT_EQ(Draw(file, {L"--background", L"none"}).exitCode, 0u);
  EXPECT_EQ(LoadPng(picture_).pixels,
            IconPixels(ExtractPlaceholderIcons(ExtensionClasses(), file).large.Get()).pixels);
}

TEST_F(IconCommandTest, SaysInOneLineWhyThereIsNoPicture) {
  Root();
  const std::wstring plain = File(L"Root\\a.txt");
  ExpectFailure(Draw(plain), 13, "the handler has no icon for " + ToUtf8(plain) + " (0x80004001)");
  const std::wstring absent = folder_ / L"Root\\absent.txt.ghpl";
  ExpectFailure(Draw(absent), 1, "cannot find " + ToUtf8(absent) + ": ");
  const std::wstring nowhere = folder_ / L"missing\\icon.png";
  ExpectFailure(RunTool(L"shellprobe.exe", {L"icon", Placeholder(L"Root\\a.ghpl"), L"--png", nowhere}), 1,
                "cannot write the picture " + ToUtf8(nowhere));
  ASSERT_EQ(UnregisterExtension().exitCode, 0u);
  ExpectFailure(Draw(Placeholder(L"Root\\b.ghpl")), 10, "the extension is not registered");
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
}

}  // namespace
}  // namespace veskard::test

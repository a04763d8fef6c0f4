// Checks every example of docs/marks-and-messages.md against the code.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "benc/BencWriter.h"
#include "core/ModuleHandle.h"
#include "shellext/contextmenu/AgentMessages.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/DropNames.h"
#include "shellext/contextmenu/marks/SyncFolderInspection.h"
#include "tests/support/DropData.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/SyncTree.h"
#include "util/string/ByteBuilder.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

using test::SyncTree;

// A fenced block: the words behind its fence, and its lines.
struct Example {
  std::vector<std::string> words;
  std::vector<std::string> lines;
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream stream(line);
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// The build copies the page beside the tests.
std::string Document() {
  const auto folder = std::filesystem::path(ReadModulePath(nullptr)).parent_path();
  std::ifstream file(folder / "marks-and-messages.md", std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<Example> Examples(const std::string& kind) {
  std::vector<Example> examples;
  bool inside = false;
  for (const std::string& line : Lines(Document())) {
    const bool fence = line.starts_with("```");
    if (fence && !inside) examples.push_back({Words(line.substr(3)), {}});
    if (!fence && inside) examples.back().lines.push_back(line);
    if (fence) inside = !inside;
  }
  std::erase_if(examples, [&](const Example& example) { return example.words.at(0) != kind; });
  return examples;
}

/// Each "\xHH" of the page is the byte that it names.
std::string Bytes(const std::string& line) {
  std::string bytes;
  for (size_t i = 0; i < line.size();) {
    const bool escaped = line.compare(i, 2, "\\x") == 0;
    bytes += escaped ? static_cast<char>(std::stoi(line.substr(i + 2, 2), nullptr, 16)) : line[i];
    i += escaped ? 4u : 1u;
  }
  return bytes;
}

int Number(const std::string& word) {
  return std::atoi(word.substr(word.find('=') + 1).c_str());
}

TEST(MarksDocumentTest, TheFolderRecordsSayWhatThePageSays) {
  const auto examples = Examples("folder-record");
  EXPECT_GE(examples.size(), 4u);
  for (const Example& example : examples) {
    SCOPED_TRACE(example.lines.at(0));
    SyncTree tree;
    SyncFolderInfo info;
    ASSERT_TRUE(ReadSyncFolderInfo(tree.MarkRoot(L"root", Bytes(example.lines.at(0))), info));
    EXPECT_EQ(info.selective ? "selective" : "whole", example.words.at(1));
    EXPECT_EQ(static_cast<int>(info.type), Number(example.words.at(2)));
    EXPECT_EQ(info.disableRemoveFromAllDevices ? "removal-forbidden" : "removal-allowed",
              example.words.at(3));
    EXPECT_EQ("owner=" + Utf8FromWide(info.owner), example.words.at(4));
  }
}

TEST(MarksDocumentTest, ThePlaceholderStatesSayWhatThePageSays) {
  const auto examples = Examples("placeholder-state");
  EXPECT_GE(examples.size(), 4u);
  for (const Example& example : examples) {
    SCOPED_TRACE(example.lines.at(0));
    SyncTree tree;
    const PlaceholderState state =
        ReadPlaceholderState(tree.MakePlaceholder(L"a.ghpl", Bytes(example.lines.at(0))));
    EXPECT_EQ(state.progress, Number(example.words.at(1)));
    EXPECT_EQ(state.typeFlag ? "folder" : "file", example.words.at(2));
  }
}

TEST(MarksDocumentTest, TheProgressStreamsSayWhatThePageSays) {
  const auto examples = Examples("progress-stream");
  EXPECT_GE(examples.size(), 3u);
  for (const Example& example : examples) {
    SCOPED_TRACE(example.lines.at(0));
    SyncTree tree;
    tree.WriteStream(L"a.ghpl", L"VLKDOWN", Bytes(example.lines.at(0)));
    EXPECT_EQ(ReadPlaceholderState(tree.Path(L"a.ghpl")).progress, Number(example.words.at(1)));
  }
}

TEST(MarksDocumentTest, TheMessagesAreThoseOnThePage) {
  const auto examples = Examples("messages");
  EXPECT_GE(examples.size(), 5u);
  for (const Example& example : examples) {
    SCOPED_TRACE(example.lines.at(0));
    std::vector<std::wstring> items;
    for (size_t i = 2; i < example.words.size(); ++i) items.push_back(WideFromUtf8(example.words[i]));
    const test::DropListForTest drop(items);
    const auto action = static_cast<AgentAction>(Number(example.words.at(1)));
    const DropNames names(drop.Get(), kLongestNameInCommand);
    const CommandBatch batch = BuildCommandBatch(names, static_cast<uint32_t>(items.size()), action);
    ASSERT_EQ(batch.size(), example.lines.size());
    for (size_t i = 0; i < batch.size(); ++i) {
      ByteBuilder bytes;
      WriteBencoded(bytes, *batch[i]);
      EXPECT_EQ(bytes.View(), Bytes(example.lines[i]));
    }
  }
}

TEST(MarksDocumentTest, ThePipesAndMutexesAreThoseOnThePage) {
  // Reads the rows "of the user MUTEX PIPE" and "of the service MUTEX PIPE".
  const std::map<std::string, AgentScope> rows = {{"user", AgentScope::kUser},
                                                  {"service", AgentScope::kService}};
  size_t found = 0;
  for (const std::string& line : Lines(Document())) {
    const std::vector<std::string> words = Words(line);
    if (words.size() != 5 || words[0] != "of" || words[1] != "the" || !rows.contains(words[2])) continue;
    ++found;
    const UniqueHandle mutex(::CreateMutexW(nullptr, FALSE, WideFromUtf8(words[3]).c_str()));
    EXPECT_EQ(GetAgentPipeName(rows.at(words[2])), WideFromUtf8(words[4]));
  }
  EXPECT_EQ(found, 2u);
}

}  // namespace
}  // namespace veskard

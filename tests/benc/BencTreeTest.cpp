#include "benc/BencTree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <new>
#include <random>
#include <string>

#include "benc/BencBuilder.h"
#include "benc/BencValue.h"

namespace veskard {
namespace {

// Checks the rules of a red-black tree below a node and returns how many black
// nodes every way down has; 0 when a rule is broken.
int BlackHeight(const BencNode* node) {
  if (node == nullptr) return 1;
  for (const BencNode* child : {node->left, node->right}) {
    if (child == nullptr) continue;
    if (child->parent != node || (node->isRed && child->isRed)) return 0;
  }
  const int left = BlackHeight(node->left);
  if (left == 0 || left != BlackHeight(node->right)) return 0;
  return left + (node->isRed ? 0 : 1);
}

void ExpectSoundTree(const BencValue& dict) {
  const BencNode* const root = BencTree::Root(dict);
  if (root == nullptr) return;
  EXPECT_EQ(root->parent, nullptr);
  EXPECT_FALSE(root->isRed);
  EXPECT_GT(BlackHeight(root), 0);
}

void ExpectSameEntries(const BencValue& dict, const std::map<std::string, int>& expected) {
  auto next = expected.begin();
  for (const BencEntry entry : dict.Entries()) {
    ASSERT_NE(next, expected.end());
    EXPECT_EQ(entry.key, next->first);
    EXPECT_EQ(entry.value.AsInt(), next->second);
    ++next;
  }
  EXPECT_EQ(next, expected.end());
}

TEST(BencTreeTest, StaysBalancedAndSortedInAnyOrderOfInsertion) {
  std::mt19937 random(2026);
  for (int round = 0; round < 60; ++round) {
    BencValue dict = BencValue::MakeDict();
    std::map<std::string, int> expected;
    for (int i = 0; i < 3 * round; ++i) {
      const std::string key = std::to_string(random() % 200);
      dict.InsertInt(key.c_str(), i);
      expected.emplace(key, i);
      ExpectSoundTree(dict);
    }
    ExpectSameEntries(dict, expected);
  }
}

TEST(BencTreeTest, StaysBalancedForSortedKeysThatSkipTheSearch) {
  for (const bool ascending : {true, false}) {
    BencValue dict = BencValue::MakeDict();
    BencNode* last = nullptr;
    for (int i = 0; i < 1000; ++i) {
      const std::string key = std::to_string(ascending ? 10000 + i : 20000 - i);
      ASSERT_NE(BencTree::Insert(dict, BencKey(key), last), nullptr);
      EXPECT_EQ(last, BencTree::Last(BencTree::Root(dict)));
    }
    ExpectSoundTree(dict);
    EXPECT_EQ(std::distance(dict.Entries().begin(), dict.Entries().end()), 1000);
  }
}

TEST(BencTreeTest, RefusesAKeyThatIsThere) {
  BencValue dict = BencValue::MakeDict();
  BencNode* last = nullptr;
  ASSERT_NE(BencTree::Insert(dict, BencKey("b"), last), nullptr);
  EXPECT_EQ(BencTree::Insert(dict, BencKey("b"), last), nullptr);
  ASSERT_NE(BencTree::Insert(dict, BencKey("a"), last), nullptr);
  EXPECT_EQ(BencTree::Insert(dict, BencKey("a"), last), nullptr);
  EXPECT_EQ(last->KeyView(), "b");
}

TEST(BencTreeTest, AKeyOf2GiBCountsAsMemoryExhaustion) {
  BencValue dict = BencValue::MakeDict();
  BencNode* last = nullptr;
  BencKey key("a");
  key.length = size_t{1} << 31;  // refused before a byte of it is read
  EXPECT_THROW(BencTree::Insert(dict, key, last), std::bad_alloc);
  EXPECT_TRUE(dict.Entries().begin() == dict.Entries().end());
}

TEST(BencTreeTest, AListThatCannotBeAddressedCountsAsMemoryExhaustion) {
  BencValue list = BencValue::MakeList();
  list.Append(BencValue::FromInt32(1));
  const size_t largest = std::numeric_limits<size_t>::max();
  for (const size_t count : {largest, largest / 2, largest / sizeof(BencValue)})
    EXPECT_THROW(BencBuilder::Reserve(list, count), std::bad_alloc);
  EXPECT_EQ(list.Items().size(), 1u);
}

}  // namespace
}  // namespace veskard

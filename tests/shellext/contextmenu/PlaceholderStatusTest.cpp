#include "shellext/icons/PlaceholderStatus.h"

#include <gtest/gtest.h>

#include "tests/support/SyncTree.h"

namespace veskard {
namespace {

using test::SyncTree;

TEST(PlaceholderStatusTest, TellsProgressAndFolder) {
  SyncTree tree;
  const PlaceholderStatus status =
      QueryPlaceholderStatus(tree.MakePlaceholder(L"a.ghpl", "d10:vlk_statusi47e8:vlk_typei2ee"));
  EXPECT_EQ(status.progress, 45);
  EXPECT_TRUE(status.isFolder);
}

TEST(PlaceholderStatusTest, AFileWithoutMarksIsNotReceivedAndNoFolder) {
  SyncTree tree;
  const PlaceholderStatus status = QueryPlaceholderStatus(tree.MakeFile(L"a.ghpl"));
  EXPECT_EQ(status.progress, -1);
  EXPECT_FALSE(status.isFolder);
}

TEST(PlaceholderStatusTest, KnowsWhetherTheFolderIsSelective) {
  SyncTree tree;
  tree.MarkRoot(L"selective", test::kSelective);
  tree.MarkRoot(L"whole", test::kNotSelective);
  tree.MarkRoot(L"bare");
  EXPECT_TRUE(LiesInSelectiveFolder(tree.Path(L"selective\\a.ghpl")));
  EXPECT_FALSE(LiesInSelectiveFolder(tree.Path(L"whole\\a.ghpl")));
  EXPECT_FALSE(LiesInSelectiveFolder(tree.Path(L"bare\\a.ghpl")));
  EXPECT_FALSE(LiesInSelectiveFolder(tree.Path(L"elsewhere\\a.ghpl")));
}

TEST(PlaceholderStatusTest, APlaceholderInANestedFolderIsJudgedByTheOuterOne) {
  SyncTree tree;
  tree.MarkRoot(L"outer", test::kSelective);
  tree.MarkRoot(L"outer\\inner", test::kNotSelective);
  EXPECT_TRUE(LiesInSelectiveFolder(tree.Path(L"outer\\inner\\a.ghpl")));
}

}  // namespace
}  // namespace veskard

#include "shellext/contextmenu/DropMedium.h"

#include <gtest/gtest.h>

#include "shellext/contextmenu/DropNames.h"
#include "tests/support/DropData.h"

namespace veskard {
namespace {

using test::FakeDataObject;

uint32_t CountOf(HDROP drop) {
  return DropNames(drop, kLongestNameInMenu).Count();
}

TEST(DropMediumTest, WithoutASourceThereIsNothing) {
  DropMedium medium;
  EXPECT_TRUE(FAILED(medium.Fetch(nullptr)));
  EXPECT_FALSE(medium.CameWithHandle());
  EXPECT_EQ(medium.Drop(), nullptr);
}

TEST(DropMediumTest, AsksForTheFilesAsABlockOfMemory) {
  FakeDataObject source({L"C:\\a"});
  DropMedium medium;
  EXPECT_EQ(medium.Fetch(&source), S_OK);
  EXPECT_EQ(source.LastFormat().cfFormat, 15);
  EXPECT_EQ(source.LastFormat().ptd, nullptr);
  EXPECT_EQ(source.LastFormat().dwAspect, static_cast<DWORD>(DVASPECT_CONTENT));
  EXPECT_EQ(source.LastFormat().lindex, -1);
  EXPECT_EQ(source.LastFormat().tymed, static_cast<DWORD>(TYMED_HGLOBAL));
}

TEST(DropMediumTest, TheListStaysReadableUntilTheEnd) {
  FakeDataObject source({L"C:\\a", L"C:\\b"});
  {
    DropMedium medium;
    medium.Fetch(&source);
    EXPECT_EQ(source.ListsInUse(), 1);
    EXPECT_EQ(CountOf(medium.Drop()), 2u);
    EXPECT_EQ(DropNames(medium.Drop(), kLongestNameInMenu).At(1), L"C:\\b");
  }
  EXPECT_EQ(source.ListsInUse(), 0);
}

TEST(DropMediumTest, TheOldListIsFreedWhenANewOneIsAskedFor) {
  FakeDataObject source({L"C:\\a"});
  DropMedium medium;
  for (int i = 1; i <= 3; ++i) {
    medium.Fetch(&source);
    EXPECT_EQ(source.ListsGiven(), i);
    EXPECT_EQ(source.ListsInUse(), 1);
  }
}

TEST(DropMediumTest, TheOldListIsFreedAlsoWhenTheNewOneFails) {
  FakeDataObject source({L"C:\\a"});
  DropMedium medium;
  medium.Fetch(&source);
  source.AnswerWith(E_FAIL, {});
  EXPECT_EQ(medium.Fetch(&source), E_FAIL);
  EXPECT_EQ(source.ListsInUse(), 0);
  EXPECT_EQ(medium.Drop(), nullptr);
}

// It must not be freed: a failed call passes no ownership.
TEST(DropMediumTest, AHandleThatCameWithAFailureIsNotTakenAndNotFreed) {
  FakeDataObject source({});
  const test::DropListForTest list({L"C:\\a"});
  STGMEDIUM answer = {};
  answer.tymed = TYMED_HGLOBAL;
  answer.hGlobal = list.Get();
  source.AnswerWith(E_FAIL, answer);
  {
    DropMedium medium;
    medium.Fetch(&source);
    EXPECT_TRUE(medium.CameWithHandle());
    EXPECT_EQ(medium.Drop(), nullptr);
  }
  EXPECT_EQ(CountOf(list.Get()), 1u);
}

TEST(DropMediumTest, AListWithoutAKeeperIsFreedAsMemory) {
  FakeDataObject source({});
  STGMEDIUM answer = {};
  answer.tymed = TYMED_HGLOBAL;
  answer.hGlobal = test::NewDropList({L"C:\\a"});
  source.AnswerWith(S_OK, answer);
  {
    DropMedium medium;
    medium.Fetch(&source);
    EXPECT_EQ(CountOf(medium.Drop()), 1u);
  }
  EXPECT_EQ(::GlobalFlags(answer.hGlobal), static_cast<UINT>(GMEM_INVALID_HANDLE));
}

TEST(DropMediumTest, AMediumOfAnotherKindIsNoList) {
  FakeDataObject source({});
  STGMEDIUM answer = {};
  answer.tymed = TYMED_FILE;
  answer.lpszFileName = static_cast<wchar_t*>(::CoTaskMemAlloc(8));
  answer.lpszFileName[0] = L'\0';
  source.AnswerWith(S_OK, answer);
  DropMedium medium;
  EXPECT_EQ(medium.Fetch(&source), S_OK);
  EXPECT_TRUE(medium.CameWithHandle());
  EXPECT_EQ(medium.Drop(), nullptr);
}

TEST(DropMediumTest, AnUnnamedKindIsTakenForMemory) {
  FakeDataObject source({});
  const test::DropListForTest list({L"C:\\a"});
  STGMEDIUM answer = {};
  answer.hGlobal = list.Get();
  source.AnswerWith(S_OK, answer);
  DropMedium medium;
  medium.Fetch(&source);
  EXPECT_EQ(CountOf(medium.Drop()), 1u);
}

}  // namespace
}  // namespace veskard

#include "tools/shellprobe/SelectionData.h"

#include <gtest/gtest.h>
#include <shellapi.h>

namespace veskard {
namespace {

constexpr FORMATETC kDropFormat = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};

std::vector<std::wstring> NamesIn(HDROP drop) {
  std::vector<std::wstring> names;
  const UINT count = ::DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
  for (UINT i = 0; i < count; ++i) {
    std::wstring name(::DragQueryFileW(drop, i, nullptr, 0), L'\0');
    ::DragQueryFileW(drop, i, name.data(), static_cast<UINT>(name.size()) + 1);
    names.push_back(name);
  }
  return names;
}

std::vector<std::wstring> RoundTrip(const std::vector<std::wstring>& paths) {
  const UniqueCom<IDataObject> data = MakeSelectionData(paths);
  FORMATETC format = kDropFormat;
  STGMEDIUM medium = {};
  EXPECT_EQ(data.Get()->GetData(&format, &medium), S_OK);
  const std::vector<std::wstring> names = NamesIn(static_cast<HDROP>(medium.hGlobal));
  ::ReleaseStgMedium(&medium);
  return names;
}

TEST(SelectionDataTest, OffersThePathsInOrder) {
  const std::vector<std::wstring> paths = {L"C:\\b.txt", L"C:\\a", L"\\\\server\\share\\\u4f60.ghpl"};
  EXPECT_EQ(RoundTrip(paths), paths);
}

TEST(SelectionDataTest, OffersAThousandLongPaths) {
  std::vector<std::wstring> paths;
  for (int i = 0; i < 1000; ++i) paths.push_back(L"C:\\" + std::wstring(300, L'x') + std::to_wstring(i));
  EXPECT_EQ(RoundTrip(paths), paths);
}

TEST(SelectionDataTest, RefusesEveryOtherFormat) {
  const UniqueCom<IDataObject> data = MakeSelectionData({L"C:\\a"});
  STGMEDIUM medium = {};
  FORMATETC text = kDropFormat;
  text.cfFormat = CF_UNICODETEXT;
  EXPECT_EQ(data.Get()->GetData(&text, &medium), DV_E_FORMATETC);
  FORMATETC stream = kDropFormat;
  stream.tymed = TYMED_ISTREAM;
  EXPECT_EQ(data.Get()->QueryGetData(&stream), DV_E_TYMED);
  FORMATETC thumbnail = kDropFormat;
  thumbnail.dwAspect = DVASPECT_THUMBNAIL;
  EXPECT_EQ(data.Get()->QueryGetData(&thumbnail), DV_E_DVASPECT);
}

TEST(SelectionDataTest, AnswersItsInterfacesOnly) {
  const UniqueCom<IDataObject> data = MakeSelectionData({});
  UniqueCom<IUnknown> face;
  EXPECT_EQ(data.Get()->QueryInterface(IID_IUnknown, OutVoid(face)), S_OK);
  EXPECT_EQ(data.Get()->QueryInterface(IID_IPersistFile, OutVoid(face)), E_NOINTERFACE);
  EXPECT_FALSE(face);
}

}  // namespace
}  // namespace veskard

#include "tests/shellext/icons/IconHandler.h"

#include <gtest/gtest.h>

#include "shellext/icons/ShellFileIcon.h"
#include "shellext/module/ClassFactory.h"

namespace veskard::test {

IconHandler::IconHandler() {
  UniqueCom<IClassFactory> factory(new ClassFactory<ShellFileIcon>());
  factory.Get()->AddRef();
  EXPECT_EQ(factory.Get()->CreateInstance(nullptr, IID_IPersistFile, reinterpret_cast<void**>(file_.Out())),
            S_OK);
  EXPECT_EQ(file_.Get()->QueryInterface(IID_IExtractIconW, reinterpret_cast<void**>(icons_.Out())), S_OK);
}

void IconHandler::Load(const std::wstring& file) const {
  EXPECT_EQ(file_.Get()->Load(file.c_str(), STGM_READ), S_OK);
}

ExtractedIcons IconHandler::Extract(UINT iconSize) const {
  HICON large = nullptr, small = nullptr;
  const HRESULT result = icons_.Get()->Extract(L"ignored", 7, &large, &small, iconSize);
  return {result, UniqueIcon(large), UniqueIcon(small)};
}

}  // namespace veskard::test

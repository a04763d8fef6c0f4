#include "bench/icons/BenchFiles.h"

#include "tools/marks/Marks.h"

namespace veskard::bench {
namespace {

std::wstring Extension(int number) {
  return L"vkbench" + std::to_wstring(number);
}

std::vector<test::IconFilePicture> Pictures(int number) {
  std::vector<test::IconFilePicture> pictures;
  for (const int size : {16, 32, 48, 256}) {
    pictures.push_back({test::Paint(size, size, [number](int x, int y) {
      return 0xFF000000u | static_cast<uint32_t>(x * 7 + y * 1031 + number * 65537);
    })});
  }
  return pictures;
}

}  // namespace

BenchFiles::BenchFiles(int count) {
  LayFolderRecord(folder_.Path(), {}, FolderRecordSource::kFile);
  for (int number = 0; number < count; ++number) {
    types_.push_back(std::make_unique<test::TestFileType>(Extension(number), Pictures(number)));
    LayPlaceholder(Receiving(number), {.progress = kProgress}, PlaceholderSource::kStream);
    LayPlaceholder(Waiting(number), {}, PlaceholderSource::kStream);
  }
}

std::wstring BenchFiles::Name(int number) const {
  return folder_ / (L"file." + Extension(number));
}

std::wstring BenchFiles::Waiting(int number) const {
  return folder_ / (L"waiting." + Extension(number) + L".ghpl");
}

}  // namespace veskard::bench

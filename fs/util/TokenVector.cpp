#include "fs/util/TokenVector.h"

namespace veskard {

void TokenVector::Assign(std::wstring_view text) {
  tokens_.clear();
  Split(text);
}

void TokenVector::Split(std::wstring_view text) {
  for (size_t begin = 0; begin < text.size();) {
    const size_t found = text.find(separator_, begin);
    const size_t end = found == std::wstring_view::npos ? text.size() : found;
    if (end > begin) tokens_.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
}

}  // namespace veskard

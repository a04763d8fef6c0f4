// Looking at the items of a selection, as plain calls: the marks of the folder and of each
// item. Both menus need them.
#pragma once

namespace veskard::bench {

struct BaselineFound {
  bool inFolder = false;
  bool local = false;
  bool waiting = false;
  bool receiving = false;
};

class BaselineLook {
 public:
  /// Looks at the next item; false where no other one matters, since the first lies outside
  /// every folder.
  bool At(const wchar_t* name);

  const BaselineFound& Found() const noexcept { return found_; }

 private:
  bool isFirst_ = true;
  BaselineFound found_;
};

}  // namespace veskard::bench

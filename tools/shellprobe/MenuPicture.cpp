#include "tools/shellprobe/MenuPicture.h"

#include "tools/common/ToolError.h"
#include "tools/shellprobe/BlendedMenuBitmaps.h"
#include "tools/shellprobe/Canvas.h"

namespace veskard {
namespace {

constexpr wchar_t kOwnerClass[] = L"VeskardShellProbeMenuOwner";
constexpr UINT_PTR kCloseTimer = 1;

ToolError NoScreen() {
  return ToolError(ExitCode::kFailed, "the menu cannot be shown: there is no screen");
}

Picture PhotographWindow(HWND window) {
  RECT area = {};
  ::GetWindowRect(window, &area);
  const int width = area.right - area.left;
  const int height = area.bottom - area.top;
  Canvas canvas(width, height);
  const HDC source = ::GetWindowDC(window);
  ::BitBlt(canvas.Context(), 0, 0, width, height, source, 0, 0, SRCCOPY);
  ::ReleaseDC(window, source);
  return canvas.CopyOpaque();
}

/// The window that owns the menu while it is up. The system notifies it when the
/// menu is drawn and waits for the user (WM_ENTERIDLE): the moment to photograph.
class MenuOwner {
 public:
  MenuOwner(HMENU menu, unsigned milliseconds) : menu_(menu), milliseconds_(milliseconds) {
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = OnMessage;
    windowClass.lpszClassName = kOwnerClass;
    ::RegisterClassExW(&windowClass);
    window_ = ::CreateWindowExW(WS_EX_TOOLWINDOW, kOwnerClass, L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                                nullptr, nullptr);
    if (window_ == nullptr) throw NoScreen();
    ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  ~MenuOwner() { ::DestroyWindow(window_); }
  MenuOwner(const MenuOwner&) = delete;
  MenuOwner& operator=(const MenuOwner&) = delete;

  Picture Show() {
    ::SetForegroundWindow(window_);
    ::TrackPopupMenuEx(menu_, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_RETURNCMD, kLeft, kTop, window_, nullptr);
    if (picture_.pixels.empty()) throw NoScreen();
    return picture_;
  }

 private:
  static constexpr int kLeft = 40;
  static constexpr int kTop = 40;

  static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM data) {
    auto* const self = reinterpret_cast<MenuOwner*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self != nullptr && message == WM_ENTERIDLE && word == MSGF_MENU) {
      self->OnDrawn(reinterpret_cast<HWND>(data));
      return 0;
    }
    if (message == WM_TIMER && word == kCloseTimer) ::EndMenu();
    return ::DefWindowProcW(window, message, word, data);
  }

  void OnDrawn(HWND menuWindow) {
    ::UpdateWindow(menuWindow);
    picture_ = PhotographWindow(menuWindow);
    if (milliseconds_ == 0) {
      ::EndMenu();
    } else {
      ::SetTimer(window_, kCloseTimer, milliseconds_, nullptr);
    }
  }

  HMENU menu_;
  unsigned milliseconds_;
  HWND window_ = nullptr;
  Picture picture_;
};

}  // namespace

Picture PhotographMenu(HMENU menu, unsigned milliseconds) {
  const BlendedMenuBitmaps blended(menu);
  return MenuOwner(menu, milliseconds).Show();
}

}  // namespace veskard

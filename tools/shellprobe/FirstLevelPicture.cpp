#include "tools/shellprobe/FirstLevelPicture.h"

#include <windows.h>

#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtractedIcons.h"
#include "tools/shellprobe/MenuPanel.h"

namespace veskard {
namespace {

PanelRow RowFor(const FirstLevelItem& item) {
  return {.text = item.title, .icon = LoadCommandIcon(item.icon), .isGreyed = item.IsGreyed()};
}

PanelRow Other(const wchar_t* text, bool leadsOn = false) {
  return {.text = text, .icon = {}, .leadsOn = leadsOn};
}

std::vector<PanelRow> MenuRows(const FirstLevelMenu& menu, bool amongOthers) {
  std::vector<PanelRow> rows;
  if (amongOthers)
    rows = {Other(L"Open"), Other(L"Open with", true), Other(L"Copy as path"), Other(L"Properties"),
            PanelRow()};
  if (!menu.FlyOut().IsHidden()) {
    rows.push_back(RowFor(menu.FlyOut()));
    rows.back().isOpen = rows.back().leadsOn = true;
    if (amongOthers) rows.push_back(PanelRow());
  }
  if (amongOthers) rows.push_back(Other(L"Show more options"));
  return rows;
}

std::vector<PanelRow> FlyOutRows(const FirstLevelMenu& menu) {
  std::vector<PanelRow> rows;
  if (menu.FlyOut().IsHidden()) return rows;
  for (const FirstLevelItem& child : menu.Children())
    if (!child.IsHidden()) rows.push_back(RowFor(child));
  return rows;
}

}  // namespace

Picture LoadCommandIcon(const std::wstring& location) {
  const size_t comma = location.find_last_of(L',');
  const std::wstring file = location.substr(0, comma);
  const int number = comma == std::wstring::npos ? 0 : ::_wtoi(location.c_str() + comma + 1);
  const int size = PanelIconSize();
  UniqueIcon icon;
  if (::PrivateExtractIconsW(file.c_str(), number, size, size, icon.Out(), nullptr, 1, 0) != 1 || !icon)
    throw ToolError(ExitCode::kFailed, "there is no picture " + ToUtf8(location));
  return IconPixels(icon.Get());
}

Picture DrawFirstLevelMenu(const FirstLevelMenu& menu, const FirstLevelPictureOptions& options) {
  const std::vector<PanelRow> rows = MenuRows(menu, options.amongOthers);
  if (rows.empty())
    throw ToolError(ExitCode::kFailed, "there is nothing to draw: the first menu shows no commands");
  return DrawPanels(rows, FlyOutRows(menu), options.isDark ? kDarkPanel : kLightPanel);
}

}  // namespace veskard

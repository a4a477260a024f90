#include "ui/status_icons.h"

#include "locale/ulocale.h"

namespace portwise {
namespace {

constexpr WORD kNormalIcon = 120;
constexpr struct {
  Severity severity;
  WORD icon;
} kIcons[] = {{Severity::Error, 119}, {Severity::Warning, 118}};

WORD IconOf(int severity) {
  for (const auto& row : kIcons) {
    if (static_cast<int>(row.severity) == severity) return row.icon;
  }
  return kNormalIcon;
}

}  // namespace

StatusIcon::StatusIcon(ULocale& locale, int severity)
    : large_(static_cast<HICON>(locale.LoadHandle(ResourceKind::Icon, MAKEINTRESOURCEW(IconOf(severity))))) {
  if (!large_) return;
  small_.Reset(static_cast<HICON>(CopyImage(large_, IMAGE_ICON, GetSystemMetrics(SM_CXSMICON),
                                            GetSystemMetrics(SM_CYSMICON), LR_COPYFROMRESOURCE)));
}

}  // namespace portwise

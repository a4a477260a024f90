#pragma once

#include "settings/registry.h"
#include "settings/settings_keys.h"

namespace portwise {

/// The registry as one printer sees it: "Settings:", "DATA:", "UserSettings:", "NETWORK:" and the other roots that
/// depend on a printer, and the placeholders "[PRINTER]", "[MODEL]", "[PORT]", "[SERVER]" and "[OEM]".
///
/// For a printer of another computer, what belongs to the machine or to all of a user's printers is kept in the current
/// user's part of the registry, apart for each computer. What is known of the printer is taken once, by the
/// constructor, from PrinterInfo; who wants fresh facts makes a new object. A printer that the spooler does not know
/// has empty placeholders, and its keys do not open.
class PrinterRegistry : public ORegistry {
 public:
  explicit PrinterRegistry(const OString& printerName);

  /// Whether the keys of a printer of another computer are redirected; they are at first. Without that they are those
  /// of this machine.
  void SetRedirect(bool redirect) { redirect_ = redirect; }

  OString TranslateRoots(const OString& key) const override;
  unique_registry_key OpenKey(const OString& key, bool create) const override;
  bool DeleteKey(const OString& parent, const OString& subKey) const override;

  /// As the functions of settings/settings_keys.h.
  void ListSettingsKeys(OStringArray* lines) const { portwise::ListSettingsKeys(*this, lines); }
  void HeadersToLogical(const OString& prefix, OStringArray* lines) const {
    portwise::HeadersToLogical(*this, prefix, lines);
  }
  void HeadersToNative(const OString& prefix, OStringArray* lines) const {
    portwise::HeadersToNative(*this, prefix, lines);
  }

  const OString& PrinterName() const { return printerName_; }
  const OString& PortName() const { return portName_; }
  const OString& ServerName() const { return serverName_; }
  bool IsRemote() const { return remote_; }

 private:
  /// Where a key in numeric-root form lies, in that form.
  OString Redirect(const OString& key) const;

  OString printerName_;
  OString shortName_;
  OString modelName_;
  OString portName_;
  OString serverName_;
  OString oemCode_;
  bool remote_ = false;
  bool redirect_ = false;
};

}  // namespace portwise

#pragma once

#include "locale/ulocale.h"

namespace portwise {

/// The system's locale: resources in one language, from its module in the archive "portwise.ddz" of the system
/// directory, and in English from the library itself. Without the module everything is in English.
class pmLocale : public ULocale {
 public:
  /// A three-letter code; empty or "sys" is the system's language when the resources are loaded.
  explicit pmLocale(const OString& language = OString()) : language_(language) {}

  /// Loads the resources when they are not; called by every request.
  void EnsureLoaded() override;
  /// Loads them, anew when they were.
  void Load();
  /// Loads them in another language.
  void Load(const OString& language);
  /// Releases all sources, and deletes what was extracted for them.
  void Unload();

  /// The language asked for; its code once the resources are loaded.
  const OString& Language() const { return language_; }

 private:
  /// Adds the language's module as a source, from a temporary file.
  void AddLanguageModule();

  OString language_;
  bool loaded_ = false;
};

}  // namespace portwise

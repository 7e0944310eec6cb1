#pragma once

#include "config/config_change.h"
#include "config/config_file.h"

namespace kest {

/// An entry that comes into a configuration file of plain text. The undo takes it out. `Base` says with `kNotText` what
/// a file that is not plain text comes to.
template <class Derived, class Base> class TextInsert : public Named<Derived, Base> {
public:
  using typename Base::ErrorCode;
  ErrorCode MakeChange(const CKestConfigChanges*, CKestXmlFile* file, const CKestXmlFile*) override {
    auto* text = dynamic_cast<CKestTextConfigFile*>(file);
    return text ? PutIn(*text) : Base::kNotText;
  }
  ErrorCode UndoChange(const CKestConfigChanges*, CKestXmlFile* file, const CKestXmlFile*) override {
    auto* text = dynamic_cast<CKestTextConfigFile*>(file);
    return text ? TakeOut(*text) : Base::kNotText;
  }

protected:
  virtual ErrorCode PutIn(CKestTextConfigFile& file) const = 0; ///< replaces an entry that is there
  virtual ErrorCode TakeOut(CKestTextConfigFile& file) const = 0;
};

/// An entry that goes from such a file. No undo.
template <class Derived, class Base> class TextRemove : public Named<Derived, Base> {
public:
  using typename Base::ErrorCode;
  ErrorCode MakeChange(const CKestConfigChanges*, CKestXmlFile* file, const CKestXmlFile*) override {
    auto* text = dynamic_cast<CKestTextConfigFile*>(file);
    return text ? TakeOut(*text) : Base::kNotText;
  }
  ErrorCode UndoChange(const CKestConfigChanges*, CKestXmlFile*, const CKestXmlFile*) override {
    return Base::kSuccess;
  }

protected:
  virtual ErrorCode TakeOut(CKestTextConfigFile& file) const = 0;
};

} // namespace kest

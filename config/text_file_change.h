#pragma once

#include "config/config_change.h"
#include "config/config_file.h"

namespace kest {

/// A change of one entry of a configuration file of plain text.
class KEST_API CKestTextFileChange : public CKestConfigChange {
protected:
  virtual ErrorCode TakeOut(CKestTextConfigFile& file) const = 0; ///< an entry that is not there is no error
};

/// An entry that comes into such a file. The undo takes it out. `Base` says with `kNotText` what a file that is not
/// plain text comes to.
template <class Derived, class Base> class TextInsert : public Named<Derived, Base> {
public:
  using typename Base::ErrorCode;
  ErrorCode MakeChange(const CKestConfigChanges*, CKestXmlFile* file, const CKestXmlFile*) override {
    auto* text = dynamic_cast<CKestTextConfigFile*>(file);
    return text ? PutIn(*text) : Base::kNotText;
  }
  ErrorCode UndoChange(const CKestConfigChanges*, CKestXmlFile* file, const CKestXmlFile*) override {
    auto* text = dynamic_cast<CKestTextConfigFile*>(file);
    return text ? this->TakeOut(*text) : Base::kNotText;
  }

protected:
  virtual ErrorCode PutIn(CKestTextConfigFile& file) const = 0; ///< replaces an entry that is there
};

/// An entry that goes from such a file. No undo.
template <class Derived, class Base> class TextRemove : public Named<Derived, Base> {
public:
  using typename Base::ErrorCode;
  ErrorCode MakeChange(const CKestConfigChanges*, CKestXmlFile* file, const CKestXmlFile*) override {
    auto* text = dynamic_cast<CKestTextConfigFile*>(file);
    return text ? this->TakeOut(*text) : Base::kNotText;
  }
  ErrorCode UndoChange(const CKestConfigChanges*, CKestXmlFile*, const CKestXmlFile*) override {
    return Base::kSuccess;
  }
};

} // namespace kest

#pragma once

#include "description/extension.h"

#include <span>

namespace kest {

/// One attribute that an element knows.
struct AttributeRow {
  std::string_view name;
  void (*read)(CKestXmlObject& object, std::string_view value);
  bool isDestination = false; ///< of a file: its text may be shared
};

/// One kind of element of a description, and what reading its start tag does.
struct ElementRow {
  enum class Action {
    kObject,     ///< makes an object
    kRecord,     ///< sets properties of the record
    kRoot,       ///< the same, and a root was found
    kText,       ///< begins one of the record's texts
    kContainer,  ///< opens one of the record's containers
    kComment,    ///< makes a comment
    kPlainChild, ///< captures the element as it is, without opening it
  };
  /// When the row applies.
  enum class Guard { kAlways, kHasCurrent, kNoCurrent, kInMenuInsert, kInShortcutInsert };
  /// When it does not.
  enum class Otherwise { kNextRow, kIgnored };
  /// Where a made object goes.
  enum class Home {
    kNone,
    kCurrent,      ///< into the current object, whatever it is
    kConfigSet,    ///< into the current object if it is a configuration-change set
    kHelpSet,      ///< the same for help-change sets
    kRecordConfig, ///< to the record's configuration changes
    kRecordHelp,   ///< to the record's help changes
    kTokens,
    kFiles,
    kProducts,
  };
  /// What becomes of attributes that the row does not name.
  enum class Unknown {
    kReport,
    kSkip,
    kKeep,      ///< plain attributes of the object
    kFirstOnly, ///< only the first attribute of the element is looked at
  };
  enum class Text { kNone, kDescription, kUIAccess, kLicense };

  std::string_view name;
  Action action = Action::kObject;
  std::unique_ptr<CKestXmlObject> (*make)() = nullptr;
  std::size_t bytes = 0; ///< of what `make` makes, and of what is written of it beyond what it is read of
  Home home = Home::kNone;
  bool push = false;
  std::span<const AttributeRow> attributes = {};
  Unknown unknown = Unknown::kReport;
  Guard guard = Guard::kAlways;
  Otherwise otherwise = Otherwise::kNextRow;
  Text text = Text::kNone;
  std::string_view belongsIn = {}; ///< the element that it means something in, for users to read
};

/// The elements of the extension itself.
[[nodiscard]] std::span<const ElementRow> OwnElements();
/// Change sets and changes.
[[nodiscard]] std::span<const ElementRow> ChangeElements();

/// The first row of an element name, in any case, or null; NextElement gives the next row of the same name, or null.
[[nodiscard]] const ElementRow* FindElement(std::string_view name);
[[nodiscard]] const ElementRow* NextElement(const ElementRow* row);
/// Null when the row does not name the attribute.
[[nodiscard]] const AttributeRow* FindAttributeRow(const ElementRow& row, std::string_view name);

// ---- how attributes are read: each calls a setter of the object's class
namespace attribute {

template <class T, auto Setter> void Text(CKestXmlObject& object, std::string_view value) {
  (static_cast<T&>(object).*Setter)(value);
}

template <class T, auto Setter> void Truthy(CKestXmlObject& object, std::string_view value) {
  (static_cast<T&>(object).*Setter)(text::IsTruthy(value));
}

template <class T> std::unique_ptr<CKestXmlObject> Make() { return std::make_unique<T>(); }

} // namespace attribute

} // namespace kest

#pragma once

#include "config/config_change.h"
#include "platform/messages/messages.h"

namespace kest {

/// A file that is a container of groups of items, groups and items keyed by an id.
struct GroupFamily {
  std::string_view container;
  std::string_view group;
  std::string_view groupWords;     ///< what a user calls a group
  std::string_view groupAttribute; ///< of an item insert
  std::string_view defaultGroup;   ///< id
  CKestConfigChange::ErrorCode placedInDefault;
  CKestConfigChange::ErrorCode failure;
};

class KEST_API CKestToolbarChange : public CKestConfigChange {
public:
  static constexpr GroupFamily kFamily{
      "toolbarset", "toolbar", "toolbar", "toolbar", "Miscellaneous_Toolbar", kPlacedInDefaultToolbar, kToolbarFailed};
  static constexpr std::string_view kInsertTag = "toolbar-insert";
  static constexpr std::string_view kRemoveTag = "toolbar-remove";
  static constexpr std::string_view kItemInsertTag = "toolbar-item-insert";
  static constexpr std::string_view kItemRemoveTag = "toolbar-item-remove";
};

class KEST_API CKestInsertbarChange : public CKestConfigChange {
public:
  static constexpr GroupFamily kFamily{"insertbar",
                                       "category",
                                       "insert bar category",
                                       "category",
                                       "TM_Insertbar_Miscellaneous",
                                       kPlacedInDefaultCategory,
                                       kInsertBarFailed};
  static constexpr std::string_view kInsertTag = "insertbar-insert";
  static constexpr std::string_view kRemoveTag = "insertbar-remove";
  static constexpr std::string_view kItemInsertTag = "insertbar-item-insert";
  static constexpr std::string_view kItemRemoveTag = "insertbar-item-remove";
};

/// A location and what to do with it: insertBefore, insertAfter, prependTo, appendTo, or none.
class KEST_API Placement {
public:
  void SetInsertBefore(std::string_view id) { SetAction(CKestConfigChange::kInsertBefore, id); }
  void SetInsertAfter(std::string_view id) { SetAction(CKestConfigChange::kInsertAfter, id); }
  void SetPrependTo(std::string_view id) { SetAction(CKestConfigChange::kPrependTo, id); }
  void SetAppendTo(std::string_view id) { SetAction(CKestConfigChange::kAppendTo, id); }
  void SetAction(int action, std::string_view locationId) {
    m_action = action;
    m_locationId = locationId;
  }
  void SetAction(int action) { m_action = action; }
  void SetLocationID(std::string_view id) { m_locationId = id; }
  [[nodiscard]] int GetAction() const { return m_action; }
  [[nodiscard]] const CString& GetLocationID() const { return m_locationId; }

private:
  int m_action = CKestConfigChange::kNoAction;
  CString m_locationId;
};

/// Inserts whole groups. A group that the file has takes the payload group's items instead; of two equal items the
/// payload's overwrites in place. The undo takes the items out again, and the group when that leaves it empty.
/// Only the insert bar heeds the placement.
template <class Base> class KEST_API GroupInsert : public Named<GroupInsert<Base>, Base>, public Placement {
public:
  static constexpr std::string_view kTag = Base::kInsertTag;
  using typename Base::ErrorCode;
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;
};

/// Inserts items at a location; when that is missing, into the family's default group (made when it is missing), with
/// the non-critical code of the family. The undo takes the items out again; the default group stays.
template <class Base> class KEST_API GroupItemInsert : public Named<GroupItemInsert<Base>, Base>, public Placement {
public:
  static constexpr std::string_view kTag = Base::kItemInsertTag;
  using typename Base::ErrorCode;
  void SetGroupID(std::string_view id) { m_groupId = id; }
  [[nodiscard]] const CString& GetGroupID() const { return m_groupId; }
  void SetToolbarID(std::string_view id) { m_groupId = id; }
  void GetToolbarID(CString& id) const { id = m_groupId; }
  [[nodiscard]] const CString& GetToolbarID() const { return m_groupId; }
  void SetCategoryID(std::string_view id) { m_groupId = id; }
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  /// The insert bar's items in the default category need the folder "Configuration\Objects\Miscellaneous" below the
  /// install folder, even when the configuration is a user's: made by a step. kInsertBarFailed when it cannot be.
  ErrorCode PostMakeChange(ErrorCode result, const CKestProduct* product,
                           CKestTypedVector<CKestExtensionInstallStep*>* steps) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  CString m_groupId;
};

/// Removes a group with its items, or one item (`Item`); a file that lacks it is an error. No undo.
template <class Base, bool Item> class KEST_API GroupRemove : public Named<GroupRemove<Base, Item>, Base> {
public:
  static constexpr std::string_view kTag = Item ? Base::kItemRemoveTag : Base::kRemoveTag;
  using typename Base::ErrorCode;
  void SetID(std::string_view id) { m_id = id; }
  void GetID(CString& id) const { id = m_id; }
  [[nodiscard]] const CString& GetID() const { return m_id; }
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  CString m_id;
};

extern template class GroupInsert<CKestToolbarChange>;
extern template class GroupItemInsert<CKestToolbarChange>;
extern template class GroupRemove<CKestToolbarChange, false>;
extern template class GroupRemove<CKestToolbarChange, true>;
extern template class GroupInsert<CKestInsertbarChange>;
extern template class GroupItemInsert<CKestInsertbarChange>;
extern template class GroupRemove<CKestInsertbarChange, false>;
extern template class GroupRemove<CKestInsertbarChange, true>;

using CKestToolbarChangeInsert = GroupInsert<CKestToolbarChange>;
using CKestToolbarItemChangeInsert = GroupItemInsert<CKestToolbarChange>;
using CKestToolbarChangeRemove = GroupRemove<CKestToolbarChange, false>;
using CKestToolbarItemChangeRemove = GroupRemove<CKestToolbarChange, true>;
using CKestInsertbarChangeInsert = GroupInsert<CKestInsertbarChange>;
using CKestInsertbarItemChangeInsert = GroupItemInsert<CKestInsertbarChange>;
using CKestInsertbarChangeRemove = GroupRemove<CKestInsertbarChange, false>;
using CKestInsertbarItemChangeRemove = GroupRemove<CKestInsertbarChange, true>;

} // namespace kest

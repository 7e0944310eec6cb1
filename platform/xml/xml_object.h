#pragma once

#include "platform/text/containers.h"
#include "platform/text/windows_names.h"

#include <memory>
#include <utility>
#include <vector>

namespace kest {

/// A node of an XML tree: tag, attributes, text, ordered children that it owns. Derived classes answer GetTag with
/// their element name and write themselves. Text in it is either "text level" (descriptions and menu-format files: the
/// file's own characters, entities still written) or "value level" (generic files: decoded); the reader that made it
/// decides.
class KEST_API CKestXmlObject {
public:
  using Children = std::vector<std::unique_ptr<CKestXmlObject>>; ///< in document order, owned
  using Attributes = std::vector<std::pair<CString, CString>>;   ///< names and values in file order

  CKestXmlObject();
  explicit CKestXmlObject(std::string_view tag); ///< an object with a tag and nothing else
  virtual ~CKestXmlObject();
  /// Complete copies: tag, attributes, value, flag, children cloned with their classes; never the object stack. Safe on
  /// itself and on an own descendant.
  CKestXmlObject(const CKestXmlObject& other);
  CKestXmlObject& operator=(const CKestXmlObject& other); ///< the same, in place of what was there
  CKestXmlObject(CKestXmlObject&&) noexcept;              ///< takes everything over; the other is left without content
  CKestXmlObject& operator=(CKestXmlObject&&) noexcept;   ///< takes everything over, in place of what was there

  virtual void GetTag(CString& tag) const; ///< element name; empty for what has none
  /// Appends the object's text at `level` tabs, lines ended by CR LF. Depth is limited to what readers accept: a deeper
  /// tree gives a text that no reader takes.
  virtual void BuildXml(int level, CString& text) const;
  /// A copy of the object's own class.
  [[nodiscard]] virtual std::unique_ptr<CKestXmlObject> Clone() const;

  /// The same as a value.
  [[nodiscard]] CString GetTag() const {
    CString tag;
    GetTag(tag);
    return tag;
  }
  void SetTag(std::string_view tag); ///< of no effect on classes that have a fixed element name
  /// Whether GetTag equals `tag`, without making a copy where that is known.
  [[nodiscard]] virtual bool HasTag(std::string_view tag, bool caseSensitive = false) const;

  [[nodiscard]] const CString& GetValue() const; ///< text of the object; borrowed until the next change
  void SetValue(std::string_view value);         ///< replaces the text
  void AppendValue(std::string_view value);
  [[nodiscard]] bool IsInCData() const; ///< whether the text is a CDATA section
  void SetInCData(bool inCData);        ///< decides how the text is written

  // ---- attributes: insertion order kept; names compared without regard to case
  void SetAttribute(std::string_view name, std::string_view value); ///< replaces the first of that name, or appends
  /// Replaces the value of the attribute at `index` of GetAttributes, whatever others are called; out of range:
  /// nothing.
  void SetAttributeAt(std::size_t index, std::string_view value);
  /// Appends without looking for the name (readers: `X` and `x` on one element are two attributes).
  void AppendAttribute(std::string_view name, std::string_view value);
  /// True when present (the first of that name).
  bool GetAttribute(std::string_view name, CString& value) const;
  /// Null when absent. Borrowed until the next change of the attributes.
  [[nodiscard]] const CString* FindAttribute(std::string_view name) const;
  [[nodiscard]] const Attributes& GetAttributes() const; ///< borrowed until the next change of the attributes

  // ---- children
  [[nodiscard]] const Children& GetChildren() const; ///< borrowed until the next change of the children
  [[nodiscard]] bool HasChildren() const;            ///< whether there is any child
  [[nodiscard]] int GetChildCount() const;           ///< how many direct children there are
  /// Returns the child, borrowed.
  CKestXmlObject* AppendChild(std::unique_ptr<CKestXmlObject> child);
  /// Takes the child over, before the others; returns it, borrowed.
  CKestXmlObject* InsertFirst(std::unique_ptr<CKestXmlObject> child);
  /// `anchor` must be a direct child; else the object is appended.
  CKestXmlObject* InsertBefore(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child);
  /// The same behind the anchor.
  CKestXmlObject* InsertAfter(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child);
  /// Hands the child back; null when it is no direct child.
  [[nodiscard]] std::unique_ptr<CKestXmlObject> RemoveChild(const CKestXmlObject* child);
  /// Frees them, however deep the tree is.
  void RemoveAllChildren();
  /// Gives back memory that was kept for further children.
  void ShrinkChildren();
  /// Index of a direct child, or -1.
  [[nodiscard]] int IndexOf(const CKestXmlObject* child) const;

  /// First descendant in document order (never the object itself) with the tag, in any case.
  [[nodiscard]] CKestXmlObject* FindTag(std::string_view tag) const;
  /// Levels of descendants: 0 for an object without children.
  [[nodiscard]] int GetDepth() const;
  /// First direct child that is a comment with exactly this text.
  [[nodiscard]] class CKestXmlComment* FindComment(std::string_view text) const;

  /// The children's text at `level` each.
  void BuildInnerXml(int level, CString& text) const;

  // ---- stack of current objects: borrowed, never copied; one object may lie on it twice
  void PushObject(CKestXmlObject* object); ///< makes an object the current one
  CKestXmlObject* PopObject();             ///< takes the current object off and returns it; null when there is none
  [[nodiscard]] CKestXmlObject* GetCurrentObject() const; ///< the top of the stack; null when it is empty
  void ClearObjectStack();                                ///< forgets all current objects; frees none

protected:
  /// The children themselves, for a derived class that edits many at once.
  [[nodiscard]] Children& EditChildren();

private:
  struct Body;
  Body& MakeBody();
  std::unique_ptr<Body> m_body; ///< made when something is first put in it, so that leaf records stay small
};

/// A comment. Its creator decides the written form: `<!-- text -->` in menu-format files, `<comment>text</comment>` in
/// descriptions and generic files.
class KEST_API CKestXmlComment : public CKestXmlObject {
public:
  /// How a comment is written.
  enum class Form { kElement, kMarkup };
  CKestXmlComment() = default;
  explicit CKestXmlComment(std::string_view text, Form form = Form::kElement); ///< a comment with this text
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< "comment"
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  [[nodiscard]] const CString& GetText() const { return m_text; }
  void SetText(std::string_view text) { m_text = text; }
  void AppendText(std::string_view text) { m_text += text; }
  [[nodiscard]] Form GetForm() const { return m_form; }
  void SetForm(Form form) { m_form = form; }
  /// What may stand between "<!--" and "-->": "--" becomes "- -", a final "-" gets a blank.
  [[nodiscard]] static CString MarkupText(std::string_view text);

private:
  CString m_text;
  Form m_form = Form::kElement;
};

/// Raw text: declaration, document type, instruction. Written as it is, then CR LF.
class KEST_API CKestXmlMisc : public CKestXmlObject {
public:
  CKestXmlMisc() = default;
  explicit CKestXmlMisc(std::string_view text) : m_text(text) {} ///< holds the text as it is
  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override; ///< empty
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;
  [[nodiscard]] const CString& GetText() const { return m_text; }

private:
  CString m_text;
};

/// A document on disk.
class KEST_API CKestXmlFile : public CKestXmlObject {
public:
  /// A document is made as its root object is.
  using CKestXmlObject::CKestXmlObject;
  /// Writes BuildXml at level 0. 0, or -1 with the old file as it was.
  virtual int Save(const char* path);
  /// 0 or a code; messages about the document are appended to `errors` when given. The base reads nothing: -1.
  virtual int Load(const char* path, CKestTypedList<CKestString>* errors);
};

} // namespace kest

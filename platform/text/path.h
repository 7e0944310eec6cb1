#pragma once

#include "platform/text/text.h"

namespace kest {

/// A path in the Windows form: drive, backslashes, any letter case. Holds the text as given. All operations heed
/// lead bytes of the code page in force.
class KEST_API CKestPath {
public:
  CKestPath() = default;
  /// Holds the text as given.
  CKestPath(CString path) : m_text(std::move(path)) {}      // NOLINT: cheap conversion both ways is the point
  CKestPath(const char* path) : m_text(path ? path : "") {} ///< the same; null is an empty path
  operator const CString&() const { return m_text; }
  [[nodiscard]] const CString& GetText() const { return m_text; }
  /// The text for calls that want it ended by a zero; borrowed until the path changes.
  [[nodiscard]] const char* c_str() const { return m_text.c_str(); }
  [[nodiscard]] bool IsEmpty() const { return m_text.empty(); } ///< whether it has no text

  /// Joins with exactly one backslash between the parts, whatever either side has; none is added at the end.
  void Append(std::string_view component);
  /// Text after the last backslash; empty for a path that ends in one.
  void GetFileName(CString& out) const;
  [[nodiscard]] CString GetFileName() const;
  void SetFileName(std::string_view name);
  /// Everything up to and including the last backslash; empty when there is none.
  void GetFolder(CString& out) const;
  [[nodiscard]] CString GetFolder() const;
  /// The folder that holds this folder, without trailing backslash; whether or not this path has one. The parent of a
  /// drive root, and of a name alone, is empty.
  [[nodiscard]] CString GetParent() const;
  void Split(CString& folder, CString& name) const; ///< GetFolder and GetFileName in one
  /// After the last dot of the last component, without the dot, case as stored; empty when none.
  void GetExtension(CString& out) const;
  [[nodiscard]] CString GetExtension() const;
  /// Replaces the extension or adds one; the dot is supplied. An empty text removes extension and dot.
  void SetExtension(std::string_view extension);
  /// "/" and ":" become backslashes; the colon of a leading "X:" before a separator or the end stays.
  void LocalizePathSeparators();
  static void LocalizePathSeparators(CString& path);
  /// Whether some component is "..".
  [[nodiscard]] static bool HasParentComponent(std::string_view path);
  /// Why one component cannot be a name on a PC, as the end of "the name ..."; null when it can.
  [[nodiscard]] static const char* JudgeComponent(std::string_view component);

private:
  CString m_text;
};

/// `folder` with exactly one trailing backslash; empty stays empty.
[[nodiscard]] KEST_API CString WithBackslash(CString folder);
/// `folder` without trailing backslashes ("C:\" keeps its own).
[[nodiscard]] KEST_API CString WithoutBackslash(CString folder);
/// Joins components with one backslash between them.
[[nodiscard]] KEST_API CString JoinPath(std::initializer_list<std::string_view> components);

} // namespace kest

#pragma once

#include <span>
#include <string>
#include <utility>

namespace kest::host {

/// One text file of a sample product; lines end with LF here and with CR LF on the machine.
struct SampleFile {
  const char* path; ///< below the folder that it belongs to
  const char* text;
};

extern const char* const kSampleMenus;

/// Files of every web editor, below its install folder, beside the menus and the server files.
[[nodiscard]] std::span<const SampleFile> GetWebEditorFiles();
/// Folders of every web editor that are empty at first, below its configuration folder.
[[nodiscard]] std::span<const char* const> GetWebEditorFolders();
/// Names of the server models: those of version 6, or those of the versions before it.
[[nodiscard]] std::span<const char* const> GetServerModels(bool version6);
/// The four menu-format files of one server model, each with its path below the configuration folder.
[[nodiscard]] std::pair<std::string, std::string> GetServerFile(int which, const std::string& model);
inline constexpr int kServerFileCount = 4;

/// Files and folders of the graphics, animation and server-graphics products, below the install folder.
[[nodiscard]] std::span<const SampleFile> GetPrismFiles();
[[nodiscard]] std::span<const SampleFile> GetMarlinFiles();
[[nodiscard]] std::span<const SampleFile> GetQuarryFiles();

} // namespace kest::host

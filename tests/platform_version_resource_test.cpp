#include "platform/machine/version_resource.h"
#include "support/damage.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

CString VersionIn(std::string_view bytes) {
  CKestVersionNumber version;
  return ReadFileVersion(bytes, version) ? version.ToText() : CString("none");
}

void PutDword(CString& image, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) {
    image[at + i] = static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
  }
}

/// A 64-bit program as linkers lay it out: code first, resources in the second section with more than one type, the
/// version under its own language, strings behind the fixed block.
CString MakeLinkedProgram() {
  CString image(0x800, '\0');
  const auto dword = [&image](std::size_t at, std::uint32_t value) { PutDword(image, at, value); };
  image.replace(0, 2, "MZ");
  dword(0x3C, 0x80);
  image.replace(0x80, 2, "PE");
  dword(0x84, 0x00028664); // 64 bits, two sections
  dword(0x94, 0x002200F0); // size of the optional header, what it is
  const std::size_t optional = 0x98;
  dword(optional, 0x0E00020B);
  dword(optional + 108, 16);
  dword(optional + 112 + 16, 0x2000);
  dword(optional + 112 + 20, 0x300);
  const std::size_t sections = optional + 0xF0;
  image.replace(sections, 5, ".text");
  dword(sections + 12, 0x1000);
  dword(sections + 16, 0x200);
  dword(sections + 20, 0x200);
  image.replace(sections + 40, 5, ".rsrc");
  dword(sections + 52, 0x2000);
  dword(sections + 56, 0x400);
  dword(sections + 60, 0x400);
  const std::size_t r = 0x400;
  dword(r + 12, 0x00020000); // two types, by number
  dword(r + 16, 3);          // icons
  dword(r + 20, 0x80000200);
  dword(r + 24, 16);
  dword(r + 28, 0x80000020);
  dword(r + 0x20 + 12, 0x00010000);
  dword(r + 0x30, 1);
  dword(r + 0x34, 0x80000038);
  dword(r + 0x38 + 12, 0x00010000);
  dword(r + 0x48, 0x411);
  dword(r + 0x4C, 0x50);
  dword(r + 0x50, 0x2060);
  dword(r + 0x54, 0x80);
  const std::size_t fixed = r + 0x60 + 0x28;
  dword(fixed, 0xFEEF04BD);
  dword(fixed + 4, 0x10000);
  dword(fixed + 8, (7U << 16) | 1U);
  dword(fixed + 12, (3125U << 16) | 9U);
  dword(0x210, 0xFEEF04BD); // the same bytes in the code mean nothing
  dword(0x214, 0x10000);
  return image;
}

TEST(VersionResource, WrittenVersionsAreReadBack) {
  for (const auto& version :
       {CKestVersionNumber(6, 0, 0), CKestVersionNumber(4, 2, 1), CKestVersionNumber(65535, 65535, 65535)}) {
    EXPECT_EQ(VersionIn(MakeVersionedExecutable(version)), version.ToText());
  }
}

TEST(VersionResource, ProgramsOfALinkerAreRead) {
  const CString image = MakeLinkedProgram();
  EXPECT_EQ(VersionIn(image), "7.1.3125");
  CString broken = image; // folders that lead nowhere: the block is searched for, in the resources alone
  PutDword(broken, 0x400 + 28, 0x80FFFFF0);
  EXPECT_EQ(VersionIn(broken), "7.1.3125");
  PutDword(broken, 0x400 + 0x60 + 0x28, 0);
  EXPECT_EQ(VersionIn(broken), "none");
}

TEST(VersionResource, NoVersionIsMadeUp) {
  EXPECT_EQ(VersionIn(""), "none");
  CString noProgram = MakeLinkedProgram();
  noProgram[0x80] = 'N';
  EXPECT_EQ(VersionIn(noProgram), "none");
}

TEST(VersionResource, CutAndChangedProgramsAreHarmless) {
  for (const CString& image : {MakeVersionedExecutable(CKestVersionNumber(6, 0, 0)), MakeLinkedProgram()}) {
    const CString whole = VersionIn(image);
    test::ForEveryCutAndChange(image, std::string_view("\0\x7F\x80\xFF", 4), [&](const std::string& changed) {
      const CString seen = VersionIn(changed);
      EXPECT_TRUE(changed.size() == image.size() || seen == "none" || seen == whole) << changed.size();
    });
  }
}

} // namespace
} // namespace kest

#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kest::test {

/// Hands over every prefix of the sample, and the sample with each byte in turn exchanged for each of `bytes`.
inline void ForEveryCutAndChange(const std::string& sample, std::string_view bytes,
                                 const std::function<void(const std::string&)>& check) {
  for (std::size_t at = 0; at < sample.size(); ++at) {
    check(sample.substr(0, at));
    std::string changed = sample;
    for (const char byte : bytes) {
      changed[at] = byte;
      check(changed);
    }
  }
}

} // namespace kest::test

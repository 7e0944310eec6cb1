#include "platform/text/sha256.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace kest {
namespace {

constexpr std::size_t kBlock = 64;

alignas(16) constexpr std::uint32_t kRounds[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using State = std::array<std::uint32_t, 8>;

std::uint32_t ReadBigEndian(const unsigned char* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

void AddBlocksPlainly(State& state, const unsigned char* block, std::size_t blocks) {
  for (; blocks > 0; --blocks, block += kBlock) {
    std::uint32_t words[64];
    for (std::size_t i = 0; i < 16; ++i) {
      words[i] = ReadBigEndian(block + 4 * i);
    }
    for (std::size_t i = 16; i < 64; ++i) {
      const std::uint32_t a = words[i - 15];
      const std::uint32_t b = words[i - 2];
      words[i] = words[i - 16] + words[i - 7] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) +
                 (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    State s = state;
    for (std::size_t i = 0; i < 64; ++i) {
      const std::uint32_t first = s[7] + (std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25)) +
                                  ((s[4] & s[5]) ^ (~s[4] & s[6])) + kRounds[i] + words[i];
      const std::uint32_t second = (std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22)) +
                                   ((s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]));
      s = {first + second, s[0], s[1], s[2], s[3] + first, s[4], s[5], s[6]};
    }
    for (std::size_t i = 0; i < 8; ++i) {
      state[i] += s[i];
    }
  }
}

#if defined(__x86_64__)

// The instructions hold the state as two halves: {A, B, E, F} and {C, D, G, H}.
__attribute__((target("sha,sse4.1,ssse3"))) void AddBlocksByInstructions(State& state, const unsigned char* block,
                                                                         std::size_t blocks) {
  const __m128i swap = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
  const __m128i dcba = _mm_loadu_si128(reinterpret_cast<const __m128i*>(state.data()));
  const __m128i hgfe = _mm_loadu_si128(reinterpret_cast<const __m128i*>(state.data() + 4));
  const __m128i cdab = _mm_shuffle_epi32(dcba, 0xB1);
  const __m128i efgh = _mm_shuffle_epi32(hgfe, 0x1B);
  __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
  __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xF0);
  for (; blocks > 0; --blocks, block += kBlock) {
    const __m128i abefBefore = abef;
    const __m128i cdghBefore = cdgh;
    __m128i words[4];
    for (int i = 0; i < 4; ++i) {
      words[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + i), swap);
    }
    for (int i = 0; i < 16; ++i) {
      __m128i& now = words[i % 4];
      const __m128i sum = _mm_add_epi32(now, _mm_load_si128(reinterpret_cast<const __m128i*>(kRounds) + i));
      cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
      abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0E));
      if (i < 12) { // the four words that come sixteen later
        const __m128i& last = words[(i + 3) % 4];
        const __m128i between = _mm_alignr_epi8(last, words[(i + 2) % 4], 4);
        now = _mm_sha256msg2_epu32(_mm_add_epi32(_mm_sha256msg1_epu32(now, words[(i + 1) % 4]), between), last);
      }
    }
    abef = _mm_add_epi32(abef, abefBefore);
    cdgh = _mm_add_epi32(cdgh, cdghBefore);
  }
  const __m128i feba = _mm_shuffle_epi32(abef, 0x1B);
  const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state.data()), _mm_blend_epi16(feba, dchg, 0xF0));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state.data() + 4), _mm_alignr_epi8(dchg, feba, 8));
}

bool HasInstructions() {
  unsigned int a = 0;
  unsigned int b = 0;
  unsigned int c = 0;
  unsigned int d = 0;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b >> 29 & 1) != 0 && __builtin_cpu_supports("sse4.1") &&
         __builtin_cpu_supports("ssse3");
}

#endif

void AddBlocks(State& state, const unsigned char* block, std::size_t blocks, bool portable) {
#if defined(__x86_64__)
  static const bool hasInstructions = HasInstructions();
  if (hasInstructions && !portable) {
    AddBlocksByInstructions(state, block, blocks);
    return;
  }
#endif
  (void)portable;
  AddBlocksPlainly(state, block, blocks);
}

} // namespace

Sha256::Sha256(bool portable)
    : m_state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19},
      m_portable(portable) {}

void Sha256::Add(const char* bytes, std::size_t count) {
  const auto* from = reinterpret_cast<const unsigned char*>(bytes);
  m_length += count;
  if (m_held > 0) {
    const std::size_t part = std::min(count, kBlock - m_held);
    std::memcpy(m_block.data() + m_held, from, part);
    m_held += part;
    from += part;
    count -= part;
    if (m_held < kBlock) {
      return;
    }
    AddBlocks(m_state, m_block.data(), 1, m_portable);
    m_held = 0;
  }
  AddBlocks(m_state, from, count / kBlock, m_portable);
  m_held = count % kBlock;
  std::memcpy(m_block.data(), from + (count - m_held), m_held);
}

CString Sha256::Finish() {
  const std::uint64_t bits = m_length * 8;
  char end[2 * kBlock] = {'\x80'};
  const std::size_t size = (m_held < kBlock - 8 ? kBlock : 2 * kBlock) - m_held;
  for (std::size_t i = 0; i < 8; ++i) {
    end[size - 1 - i] = static_cast<char>(bits >> 8 * i);
  }
  Add(end, size);
  CString text;
  for (const std::uint32_t word : m_state) {
    for (int shift = 28; shift >= 0; shift -= 4) {
      text += "0123456789abcdef"[word >> shift & 15];
    }
  }
  return text;
}

} // namespace kest

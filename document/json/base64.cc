#include "json/base64.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace gcuschema::document::internal {
namespace {

constexpr std::uint8_t kNoDigit = 0xFF;
constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::uint8_t, 256> DigitValues() {
  std::array<std::uint8_t, 256> values{};
  for (auto& value : values) value = kNoDigit;
  for (std::uint8_t i = 0; i < 64; ++i) values[static_cast<unsigned char>(kDigits[i])] = i;
  return values;
}

constexpr std::array<std::uint8_t, 256> kDigitValues = DigitValues();

std::uint32_t Digit(char c) { return kDigitValues[static_cast<unsigned char>(c)]; }

// Decodes the one form the writer writes: the standard alphabet, padded,
// without whitespace, appended to `bytes`. False for anything else, with
// `bytes` as it was. Bits past the last byte are ignored, as the runtime's
// decoder ignores them.
bool DecodeStandard(std::string_view text, std::string* bytes) {
  if (text.size() % 4 != 0) return false;
  std::size_t padding = 0;
  if (!text.empty() && text.back() == '=') padding = text[text.size() - 2] == '=' ? 2 : 1;
  const std::size_t whole = text.size() - (padding == 0 ? 0 : 4);  // digits in groups of four
  const std::size_t before = bytes->size();
  bytes->resize(before + text.size() / 4 * 3 - padding);
  char* out = bytes->data() + before;
  std::uint32_t seen = 0;  // every digit's value or'ed: kNoDigit's high bit marks a stranger
  for (std::size_t i = 0; i < whole; i += 4) {
    const std::uint32_t a = Digit(text[i]), b = Digit(text[i + 1]), c = Digit(text[i + 2]), d = Digit(text[i + 3]);
    seen |= a | b | c | d;
    const std::uint32_t group = a << 18 | b << 12 | c << 6 | d;
    out[0] = static_cast<char>(group >> 16);
    out[1] = static_cast<char>(group >> 8);
    out[2] = static_cast<char>(group);
    out += 3;
  }
  if (padding != 0) {
    const std::uint32_t a = Digit(text[whole]), b = Digit(text[whole + 1]);
    const std::uint32_t c = padding == 1 ? Digit(text[whole + 2]) : 0;
    seen |= a | b | c;
    const std::uint32_t group = a << 18 | b << 12 | c << 6;
    out[0] = static_cast<char>(group >> 16);
    if (padding == 1) out[1] = static_cast<char>(group >> 8);
  }
  if ((seen & 0x80) == 0) return true;
  bytes->resize(before);
  return false;
}

}  // namespace

bool DecodeBase64(std::string_view text, std::string* bytes) {
  if (DecodeStandard(text, bytes)) return true;
  // Brought to that form first.
  std::string normal;
  normal.reserve(text.size() + 2);
  std::size_t padding = 0;
  for (char c : text) {
    if (c == ' ' || c == '\n' || c == '\r' || c == '\t') continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    if (padding > 0) return false;  // data after padding
    if (c == '-') c = '+';
    if (c == '_') c = '/';
    normal.push_back(c);
  }
  if (normal.size() % 4 == 1 || padding > 2) return false;
  while (normal.size() % 4 != 0) normal.push_back('=');
  return DecodeStandard(normal, bytes);
}

std::size_t EncodedBase64Size(std::size_t size) { return (size + 2) / 3 * 4; }

namespace {

// The two digits of every 12 bits: a group of three bytes is two lookups
// and one four-byte store.
constexpr std::array<std::array<char, 2>, 4096> DigitPairs() {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kDigits[i >> 6], kDigits[i & 63]};
  return pairs;
}

constexpr std::array<std::array<char, 2>, 4096> kDigitPairs = DigitPairs();

}  // namespace

char* EncodeBase64(std::string_view bytes, char* out) {
  const auto* in = reinterpret_cast<const unsigned char*>(bytes.data());
  std::size_t left = bytes.size();
  for (; left >= 3; left -= 3, in += 3) {
    const std::uint32_t group = std::uint32_t{in[0]} << 16 | std::uint32_t{in[1]} << 8 | in[2];
    char digits[4];
    std::memcpy(digits, kDigitPairs[group >> 12].data(), 2);
    std::memcpy(digits + 2, kDigitPairs[group & 4095].data(), 2);
    std::memcpy(out, digits, 4);
    out += 4;
  }
  if (left > 0) {
    const std::uint32_t group = std::uint32_t{in[0]} << 16 | (left == 2 ? std::uint32_t{in[1]} << 8 : 0);
    *out++ = kDigits[group >> 18];
    *out++ = kDigits[(group >> 12) & 63];
    *out++ = left == 2 ? kDigits[(group >> 6) & 63] : '=';
    *out++ = '=';
  }
  return out;
}

}  // namespace gcuschema::document::internal

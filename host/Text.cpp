#include "host/Text.h"

#include <cstdarg>
#include <cstdio>

#include "plugin/Quillon.h"

namespace vx {

namespace {

constexpr u32 kByteEscapeBase = 0xDC00;  // plus the byte, 0x80 to 0xFF
constexpr u32 kReplacement = 0xFFFD;
constexpr u32 kLastCodePoint = 0x10FFFF;

struct SDecoded {
  u32 codePoint;
  std::size_t bytes;  // 0 if the bytes at hand are not UTF-8
};

// Takes the shortest form only: overlong forms, surrogates and values that are too large are not
// UTF-8 and would not survive the way back.
SDecoded DecodeOne(std::string_view text) {
  const auto byteAt = [&](std::size_t i) { return static_cast<u8>(text[i]); };
  const u8 lead = byteAt(0);
  if (lead < 0x80) return {lead, 1};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < bytes) return {0, 0};
  u32 value = lead & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return {0, 0};
    value = value << 6 | (byteAt(i) & 0x3Fu);
  }
  constexpr u32 kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool bSurrogate = value >= 0xD800 && value <= 0xDFFF;
  if (value < kSmallest[bytes] || value > kLastCodePoint || bSurrogate) return {0, 0};
  return {value, bytes};
}

void AppendUtf8(std::string& out, u32 value) {
  const auto put = [&](u32 byte) { out.push_back(static_cast<char>(byte)); };
  if (value < 0x80) {
    put(value);
  } else if (value < 0x800) {
    put(0xC0 | value >> 6);
    put(0x80 | (value & 0x3F));
  } else if (value < 0x10000) {
    put(0xE0 | value >> 12);
    put(0x80 | (value >> 6 & 0x3F));
    put(0x80 | (value & 0x3F));
  } else {
    put(0xF0 | value >> 18);
    put(0x80 | (value >> 12 & 0x3F));
    put(0x80 | (value >> 6 & 0x3F));
    put(0x80 | (value & 0x3F));
  }
}

}  // namespace

std::wstring ToWide(std::string_view utf8) {
  std::wstring out;
  out.reserve(utf8.size());
  while (!utf8.empty()) {
    const SDecoded decoded = DecodeOne(utf8);
    if (decoded.bytes == 0) {
      out.push_back(static_cast<wchar_t>(kByteEscapeBase + static_cast<u8>(utf8[0])));
      utf8.remove_prefix(1);
    } else {
      out.push_back(static_cast<wchar_t>(decoded.codePoint));
      utf8.remove_prefix(decoded.bytes);
    }
  }
  return out;
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const SDecoded decoded = DecodeOne(text);
    if (decoded.bytes == 0) return false;
    text.remove_prefix(decoded.bytes);
  }
  return true;
}

std::string ToUtf8(std::wstring_view wide) {
  std::string out;
  out.reserve(wide.size());
  for (const wchar_t unit : wide) {
    const u32 value = static_cast<u32>(unit);
    if (value >= kByteEscapeBase + 0x80 && value <= kByteEscapeBase + 0xFF) {
      out.push_back(static_cast<char>(value - kByteEscapeBase));
    } else {
      AppendUtf8(out, value > kLastCodePoint ? kReplacement : value);
    }
  }
  return out;
}

std::string Format(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string out;
  if (length > 0) {
    out.resize(static_cast<std::size_t>(length));
    std::vsnprintf(out.data(), out.size() + 1, format, again);
  }
  va_end(again);
  return out;
}

}  // namespace vx

#include "tools/adspasm/Tokens.h"

#include <charconv>

namespace vx::adsp {

namespace {

constexpr size_t kLongestQuote = 40;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsNamePart(char c) { return IsLetter(c) || IsDigit(c) || c == '@'; }

SToken MakeSymbol(std::string_view text) {
  return {EToken::Symbol, std::string(text), std::string(text), 0};
}

size_t EndOfName(std::string_view line, size_t at) {
  while (at < line.size() && IsNamePart(line[at])) ++at;
  return at;
}

SToken ReadNumber(std::string_view text) {
  std::string_view digits = text;
  int radix = 10;
  if (text.size() > 1 && text[0] == '0' && !IsDigit(text[1])) {
    const char prefix = text[1];
    radix = prefix == 'x' || prefix == 'X' ? 16 : prefix == 'b' || prefix == 'B' ? 2 : 0;
    digits.remove_prefix(2);
  }
  u64 value = 0;
  std::errc error = std::errc::invalid_argument;
  const char* stop = nullptr;
  if (radix != 0) {
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value, radix);
    error = result.ec;
    stop = result.ptr;
  }
  const bool bTooLarge = error == std::errc::result_out_of_range || value > 0xFFFFFFFFu;
  if (bTooLarge) throw CSourceError("the number " + std::string(text) + " has more than 32 bits.");
  if (error != std::errc() || stop != digits.data() + digits.size()) {
    throw CSourceError("\"" + std::string(text) + "\" is no number; write 19, 0x13 or 0b10011.");
  }
  return {EToken::Number, std::string(text), {}, static_cast<i64>(value)};
}

// A string or, in single quotes, the code of one character. `at` stands on the opening quote and is
// left behind the closing one.
SToken ReadQuoted(std::string_view line, size_t& at) {
  const char quote = line[at];
  const size_t end = line.find(quote, at + 1);
  if (end == std::string_view::npos) throw CSourceError("a quote is not closed.");
  const std::string text(line.substr(at + 1, end - at - 1));
  at = end + 1;
  if (quote == '"') return {EToken::String, text, {}, 0};
  if (text.size() != 1) throw CSourceError("single quotes hold exactly one character.");
  return {EToken::Number, text, {}, static_cast<u8>(text[0])};
}

SToken ReadSymbol(std::string_view line, size_t& at) {
  const std::string_view pair = line.substr(at, 2);
  if (pair == "<<" || pair == ">>") {
    at += 2;
    return MakeSymbol(pair);
  }
  constexpr std::string_view kSymbols = "+-*/&|^~(),=:$";
  const char c = line[at];
  if (kSymbols.find(c) == std::string_view::npos) {
    const bool bPrintable = c > ' ' && c < 0x7F;
    throw CSourceError("the character " +
                       (bPrintable ? "'" + std::string(1, c) + "'" : Hex(static_cast<u8>(c), 2)) +
                       " has no meaning here.");
  }
  ++at;
  return MakeSymbol(line.substr(at - 1, 1));
}

}  // namespace

std::string UpperOf(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

std::string Quote(const SToken& token) {
  if (token.kind == EToken::End) return "the end of the line";
  std::string text = token.text.substr(0, kLongestQuote);
  if (text.size() < token.text.size()) text += "...";
  return "\"" + text + "\"";
}

std::vector<SToken> SplitLine(std::string_view line) {
  std::vector<SToken> tokens;
  for (size_t at = 0; at < line.size();) {
    const char c = line[at];
    if (IsBlank(c)) {
      ++at;
    } else if (c == ';' || line.substr(at, 2) == "//") {
      break;
    } else if (IsLetter(c) || c == '@' || c == '.') {
      const size_t end = EndOfName(line, at + 1);
      const std::string_view text = line.substr(at, end - at);
      if (text.size() == 1 && c != '_' && !IsLetter(c)) {
        throw CSourceError("a name is missing behind '" + std::string(text) + "'.");
      }
      tokens.push_back({EToken::Name, std::string(text), UpperOf(text), 0});
      at = end;
    } else if (IsDigit(c)) {
      const size_t end = EndOfName(line, at);
      tokens.push_back(ReadNumber(line.substr(at, end - at)));
      at = end;
    } else if (c == '"' || c == '\'') {
      tokens.push_back(ReadQuoted(line, at));
    } else {
      tokens.push_back(ReadSymbol(line, at));
    }
  }
  return tokens;
}

const SToken& CTokens::Peek(size_t ahead) const {
  static const SToken kEnd;
  return at_ + ahead < tokens_.size() ? tokens_[at_ + ahead] : kEnd;
}

const SToken& CTokens::Next() {
  const SToken& token = Peek();
  if (token.kind != EToken::End) ++at_;
  return token;
}

bool CTokens::IsSymbol(std::string_view symbol, size_t ahead) const {
  const SToken& token = Peek(ahead);
  return token.kind == EToken::Symbol && token.text == symbol;
}

bool CTokens::IsWord(std::string_view upper, size_t ahead) const {
  const SToken& token = Peek(ahead);
  return token.kind == EToken::Name && token.upper == upper;
}

bool CTokens::AcceptSymbol(std::string_view symbol) {
  if (!IsSymbol(symbol)) return false;
  ++at_;
  return true;
}

bool CTokens::AcceptWord(std::string_view upper) {
  if (!IsWord(upper)) return false;
  ++at_;
  return true;
}

void CTokens::ExpectSymbol(std::string_view symbol) {
  if (AcceptSymbol(symbol)) return;
  throw CSourceError("\"" + std::string(symbol) + "\" is expected where " + Quote(Peek()) +
                     " stands.");
}

void CTokens::ExpectWord(std::string_view upper) {
  if (AcceptWord(upper)) return;
  throw CSourceError(std::string(upper) + " is expected where " + Quote(Peek()) + " stands.");
}

void CTokens::ExpectEnd() const {
  if (!AtEnd()) throw CSourceError(Quote(Peek()) + " does not belong to the statement before it.");
}

}  // namespace vx::adsp

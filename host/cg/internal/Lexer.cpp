#include "cg/internal/Lexer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace cg {

namespace {

constexpr std::size_t kLongestName = 256;

// Also symbols that the grammar has no use for, so that it can refuse them by name. Longer ones come first.
constexpr std::array<std::string_view, 46> kSymbols{
    "<<=", ">>=", "<=", ">=", "==", "!=", "&&", "||", "+=", "-=", "*=", "/=", "%=", "++", "--", "<<",
    ">>",  "->",  "::", "|=", "&=", "^=", "(",  ")",  "{",  "}",  "[",  "]",  ";",  ",",  ":",  ".",
    "=",   "+",   "-",  "*",  "/",  "%",  "<",  ">",  "!",  "?",  "&",  "|",  "^",  "~"};

// The language knows ASCII only, whatever the locale.
constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
constexpr bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
constexpr bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

class Lexer {
 public:
  Lexer(std::string_view source, std::vector<Token>& tokens, Diagnostic& diagnostic)
      : mSource(source), mTokens(tokens), mDiagnostic(diagnostic) {}

  bool Run() {
    while (true) {
      if (!SkipBlanks()) return false;
      if (mPosition == mSource.size()) break;
      if (!TakeToken()) return false;
    }
    Add(Token::Kind::kEnd, 0);
    return true;
  }

 private:
  char At(std::size_t offset) const {
    return mPosition + offset < mSource.size() ? mSource[mPosition + offset] : '\0';
  }
  bool Fail(const std::string& reason) { return mDiagnostic.Fail(mLine, reason); }

  void Advance(std::size_t count) {
    mLine += static_cast<int>(std::ranges::count(mSource.substr(mPosition, count), '\n'));
    mPosition = std::min(mPosition + count, mSource.size());
  }

  void Add(Token::Kind kind, std::size_t length) {
    mTokens.push_back({kind, mSource.substr(mPosition, length), mLine});
    mPosition += length;
  }

  bool SkipBlanks() {
    while (true) {
      if (IsBlank(At(0))) {
        Advance(1);
      } else if (At(0) == '/' && At(1) == '/') {
        Advance(std::min(mSource.find('\n', mPosition), mSource.size()) - mPosition);
      } else if (At(0) == '/' && At(1) == '*') {
        const std::size_t end = mSource.find("*/", mPosition + 2);
        if (end == std::string_view::npos) return Fail("the comment does not end");
        Advance(end + 2 - mPosition);
      } else {
        return true;
      }
    }
  }

  bool TakeToken() {
    if (IsLetter(At(0))) return TakeName();
    if (IsDigit(At(0)) || (At(0) == '.' && IsDigit(At(1)))) return TakeNumber();
    const std::string_view rest = mSource.substr(mPosition);
    const auto* symbol = std::ranges::find_if(kSymbols, [&](auto s) { return rest.starts_with(s); });
    if (symbol == kSymbols.end()) return FailAtCharacter();
    Add(Token::Kind::kSymbol, symbol->size());
    return true;
  }

  bool TakeName() {
    std::size_t length = 0;
    while (IsLetter(At(length)) || IsDigit(At(length))) ++length;
    if (length > kLongestName) return Fail("the name is too long");
    Add(Token::Kind::kName, length);
    return true;
  }

  std::size_t SkipDigits(std::size_t offset) const {
    while (IsDigit(At(offset))) ++offset;
    return offset;
  }

  // Digits with a point, an exponent or both, and one letter that names the precision, which does not count.
  bool TakeNumber() {
    std::size_t length = SkipDigits(0);
    bool isFloat = false;
    if (At(length) == '.') {
      isFloat = true;
      length = SkipDigits(length + 1);
    }
    if (At(length) == 'e' || At(length) == 'E') {
      isFloat = true;
      const std::size_t digits = length + (At(length + 1) == '+' || At(length + 1) == '-' ? 2 : 1);
      if (!IsDigit(At(digits))) return Fail("the exponent has no digits");
      length = SkipDigits(digits);
    }
    const bool isOctal = !isFloat && length > 1 && At(0) == '0';
    if (isOctal) return Fail("octal numbers are not supported");
    const std::size_t suffix = length;
    if (isFloat && (At(length) == 'f' || At(length) == 'h' || At(length) == 'x')) ++length;
    if (IsLetter(At(length)) || IsDigit(At(length))) return Fail("the number is followed by a letter");
    Add(isFloat ? Token::Kind::kFloat : Token::Kind::kInteger, suffix);
    mPosition += length - suffix;
    return true;
  }

  bool FailAtCharacter() {
    const char c = At(0);
    if (c == '#') return Fail("directives of a preprocessor are not supported");
    if (c > ' ' && c <= '~') return Fail("unexpected character " + Quote({&c, 1}));
    std::array<char, 8> code{};
    (void)std::snprintf(code.data(), code.size(), "0x%02X",
                        static_cast<unsigned>(static_cast<unsigned char>(c)));
    return Fail(std::string("unexpected character ") + code.data());
  }

  std::string_view mSource;
  std::vector<Token>& mTokens;
  Diagnostic& mDiagnostic;
  std::size_t mPosition = 0;
  int mLine = 1;
};

}  // namespace

bool Tokenize(std::string_view source, std::vector<Token>& tokens, Diagnostic& diagnostic) {
  return Lexer(source, tokens, diagnostic).Run();
}

}  // namespace cg

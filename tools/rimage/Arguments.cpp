#include "Arguments.h"

#include <QColor>
#include <charconv>
#include <system_error>

#include "TextTaking.h"

namespace {

std::optional<Colour> ParseDigits(std::string_view digits) {
  if (digits.size() != 6 && digits.size() != 8) return std::nullopt;
  Colour colour = {0, 0, 0, 255};
  for (std::size_t i = 0; i < digits.size() / 2; ++i) {
    std::string_view pair = digits.substr(2 * i, 2);
    int value = 0;
    if (!TakeNumber(pair, value, 16) || !pair.empty() || value < 0) return std::nullopt;
    colour[i] = static_cast<unsigned char>(value);
  }
  return colour;
}

}  // namespace

std::optional<Size> ParseSize(std::string_view text) {
  Size size;
  const bool parsed =
      TakeNumber(text, size.width) && TakeCharacter(text, 'x') && TakeNumber(text, size.height);
  if (!parsed || !text.empty() || size.width < 1 || size.height < 1) return std::nullopt;
  return size;
}

std::optional<Offset> ParseOffset(std::string_view text) {
  Offset offset;
  if (!TakeNumber(text, offset.x) || !TakeCharacter(text, ',') || !TakeNumber(text, offset.y))
    return std::nullopt;
  offset.wrap = text == ",wrap";
  if (!text.empty() && !offset.wrap) return std::nullopt;
  return offset;
}

std::optional<Colour> ParseColour(std::string_view text) {
  if (text.starts_with('#')) return ParseDigits(text.substr(1));
  const QColor colour(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
  if (!colour.isValid()) return std::nullopt;
  const auto channel = [](int value) { return static_cast<unsigned char>(value); };
  return Colour{channel(colour.red()), channel(colour.green()), channel(colour.blue()),
                channel(colour.alpha())};
}

std::optional<float> ParseFraction(std::string_view text) {
  float number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  // The comparison also refuses what is no number.
  if (error != std::errc() || end != text.data() + text.size() || !(number >= 0 && number <= 1))
    return std::nullopt;
  return number;
}

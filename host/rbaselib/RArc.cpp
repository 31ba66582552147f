#include "rbaselib/RArc.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "rbaselib/internal/RText.h"

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// Names and bare values share their characters: all but blanks, quotes and control characters.
bool IsWord(std::string_view text) {
  return !text.empty() &&
         std::none_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '"' || IsControl(c); });
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (IsControl(c)) {
      quoted += "\\x";
      quoted += kHexDigits[static_cast<unsigned char>(c) >> 4];
      quoted += kHexDigits[static_cast<unsigned char>(c) & 15];
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

// Takes one escape sequence, whose backslash is gone, off the front of `rest`.
bool TakeEscape(std::string_view& rest, std::string& text) {
  if (rest.starts_with('"') || rest.starts_with('\\')) {
    text += rest.front();
    rest.remove_prefix(1);
    return true;
  }
  unsigned value = 0;
  if (!rest.starts_with('x') || rest.size() < 3) return false;
  const char* end = rest.data() + 3;
  if (std::from_chars(rest.data() + 1, end, value, 16).ptr != end) return false;
  text += static_cast<char>(value);
  rest.remove_prefix(3);
  return true;
}

// Takes a string, whose opening quote is gone, off the front of `rest`.
bool TakeQuoted(std::string_view& rest, std::string& text) {
  while (!rest.empty()) {
    const char c = rest.front();
    rest.remove_prefix(1);
    if (c == '"') return rest.empty() || rest.front() == ' ';
    if (IsControl(c) || (c == '\\' && !TakeEscape(rest, text))) return false;
    if (c != '\\') text += c;
  }
  return false;
}

std::string_view TakeWord(std::string_view& rest) {
  const std::size_t length = std::min(rest.find(' '), rest.size());
  const std::string_view word = rest.substr(0, length);
  rest.remove_prefix(length);
  return word;
}

// Takes the next line, without its end, off the front of `rest`.
std::string_view TakeLine(std::string_view& rest) {
  const std::size_t length = std::min(rest.find('\n'), rest.size());
  std::string_view line = rest.substr(0, length);
  rest.remove_prefix(std::min(length + 1, rest.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace

IObject* RArc::IQuery(unsigned long id, int) { return id == 0 ? this : nullptr; }

bool RArc::FieldWriteBegin(const char* name) {
  if (!mOpen.name.empty() || !name || !IsWord(name)) return false;
  mOpen.name = name;
  return true;
}

void RArc::WriteValue(std::string text, bool isString) {
  if (!mOpen.name.empty()) mOpen.values.push_back({std::move(text), isString});
}

void RArc::FieldWriteC(const char* text) { WriteValue(text ? text : "", true); }
void RArc::FieldWriteB(bool value) { WriteValue(value ? "true" : "false", false); }
void RArc::FieldWriteI(int value) { WriteValue(RText::FromNumber(value), false); }
void RArc::FieldWriteD(double value) { WriteValue(RText::FromNumber(value), false); }

void RArc::FieldWriteEnd() {
  if (!mOpen.name.empty()) Put(std::exchange(mOpen, {}));
}

void RArc::Put(Field field) {
  const auto [place, isNew] = mPlaces.try_emplace(field.name, mFields.size());
  if (isNew)
    mFields.push_back(std::move(field));
  else
    mFields[place->second] = std::move(field);
}

const RArc::Field* RArc::Find(const char* name) const {
  const auto place = name ? mPlaces.find(std::string_view(name)) : mPlaces.end();
  return place == mPlaces.end() ? nullptr : &mFields[place->second];
}

const RArc::Value* RArc::FindValue(const char* name, int index) const {
  const Field* field = Find(name);
  const auto position = static_cast<std::size_t>(index);
  return field && index >= 0 && position < field->values.size() ? &field->values[position] : nullptr;
}

bool RArc::HasField(const char* name) const { return Find(name) != nullptr; }

const char* RArc::FieldReadC(const char* name, const char* fallback) const {
  const Value* value = FindValue(name, 0);
  return value && value->isString ? value->text.c_str() : fallback;
}

bool RArc::FieldReadB(const char* name, bool& value, int index) const {
  const Value* found = FindValue(name, index);
  if (!found || found->isString || (found->text != "true" && found->text != "false")) return false;
  value = found->text == "true";
  return true;
}

bool RArc::FieldReadI(const char* name, int& value, int index) const {
  const Value* found = FindValue(name, index);
  return found && !found->isString && RText::ToNumber(found->text, value);
}

bool RArc::FieldReadD(const char* name, double& value, int index) const {
  const Value* found = FindValue(name, index);
  return found && !found->isString && RText::ToNumber(found->text, value);
}

std::string RArc::GetText() const {
  std::string text;
  for (const Field& field : mFields) {
    text += field.name;
    for (const Value& value : field.values) text += ' ' + (value.isString ? Quoted(value.text) : value.text);
    text += '\n';
  }
  return text;
}

bool RArc::ParseLine(std::string_view line, Field& field) {
  field.name = TakeWord(line);
  if (!IsWord(field.name)) return false;
  while (!line.empty()) {
    line.remove_prefix(1);  // the blank before a value
    Value value;
    value.isString = line.starts_with('"');
    if (value.isString) {
      line.remove_prefix(1);
      if (!TakeQuoted(line, value.text)) return false;
    } else {
      value.text = TakeWord(line);
      if (!IsWord(value.text)) return false;
    }
    field.values.push_back(std::move(value));
  }
  return true;
}

bool RArc::SetText(const std::string& text) {
  RArc parsed;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = TakeLine(rest);
    if (line.empty()) continue;
    Field field;
    if (!ParseLine(line, field)) return false;
    parsed.Put(std::move(field));
  }
  mFields = std::move(parsed.mFields);
  mPlaces = std::move(parsed.mPlaces);
  return true;
}

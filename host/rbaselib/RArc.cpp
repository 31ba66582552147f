#include "rbaselib/RArc.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool IsFieldName(const char* name) {
  if (!name || !*name) return false;
  const std::string_view text(name);
  return std::none_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '"' || IsControl(c); });
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
  if (rest.empty()) return false;
  if (rest.front() == '"' || rest.front() == '\\') {
    text += rest.front();
    rest.remove_prefix(1);
    return true;
  }
  unsigned value = 0;
  if (rest.front() != 'x' || rest.size() < 3) return false;
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
    if (c != '\\')
      text += c;
    else if (!TakeEscape(rest, text))
      return false;
  }
  return false;
}

std::string_view TakeWord(std::string_view& rest) {
  const std::size_t length = std::min(rest.find(' '), rest.size());
  const std::string_view word = rest.substr(0, length);
  rest.remove_prefix(length);
  return word;
}

template <class T>
bool ParseAll(const std::string& text, T& value) {
  T parsed{};
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, parsed);
  if (result.ec != std::errc() || result.ptr != end) return false;
  value = parsed;
  return true;
}

template <class T>
std::string NumberText(T value) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

}  // namespace

IObject* RArc::IQuery(unsigned long id, int) { return id == 0 ? this : nullptr; }

bool RArc::FieldWriteBegin(const char* name) {
  if (!mOpen.name.empty() || !IsFieldName(name)) return false;
  mOpen.name = name;
  return true;
}

void RArc::FieldWriteC(const char* text) { mOpen.values.push_back({text ? text : "", true}); }
void RArc::FieldWriteB(bool value) { mOpen.values.push_back({value ? "true" : "false", false}); }
void RArc::FieldWriteI(int value) { mOpen.values.push_back({NumberText(value), false}); }
void RArc::FieldWriteD(double value) { mOpen.values.push_back({NumberText(value), false}); }

void RArc::FieldWriteEnd() {
  if (!mOpen.name.empty()) Put(std::move(mOpen));
  mOpen = {};
}

void RArc::Put(Field field) {
  const auto same = std::find_if(mFields.begin(), mFields.end(),
                                 [&](const Field& other) { return other.name == field.name; });
  if (same == mFields.end())
    mFields.push_back(std::move(field));
  else
    *same = std::move(field);
}

const RArc::Field* RArc::Find(const char* name) const {
  if (!name) return nullptr;
  const auto found =
      std::find_if(mFields.begin(), mFields.end(), [&](const Field& field) { return field.name == name; });
  return found == mFields.end() ? nullptr : &*found;
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
  return found && !found->isString && ParseAll(found->text, value);
}

bool RArc::FieldReadD(const char* name, double& value, int index) const {
  const Value* found = FindValue(name, index);
  return found && !found->isString && ParseAll(found->text, value);
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
  if (!IsFieldName(field.name.c_str())) return false;
  while (!line.empty()) {
    line.remove_prefix(1);  // the blank before a value
    Value value;
    if (line.starts_with('"')) {
      line.remove_prefix(1);
      value.isString = true;
      if (!TakeQuoted(line, value.text)) return false;
    } else {
      value.text = TakeWord(line);
      if (value.text.empty()) return false;
    }
    field.values.push_back(std::move(value));
  }
  return true;
}

bool RArc::SetText(const std::string& text) {
  RArc parsed;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t length = std::min(rest.find('\n'), rest.size());
    const std::string_view line = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
    Field field;
    if (line.empty()) continue;
    if (!ParseLine(line, field)) return false;
    parsed.Put(std::move(field));
  }
  mFields = std::move(parsed.mFields);
  return true;
}

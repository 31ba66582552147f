// The host's text archives.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "rbaselib/IArcObject.h"

/// One record of named fields, written and read as text: a line a field, `Name value value ...`, strings in
/// double quotes with the escapes \" \\ and \xHH (control characters), numbers with the digits that bring the
/// same value back.
///
/// Writing brackets the values of a field: `FieldWriteBegin("Name")`, one or more `FieldWrite...`,
/// `FieldWriteEnd()`. A field that is written again replaces the earlier one in place.
class RBASELIB_API RArc : public IArcObject {
 public:
  RArc() = default;
  virtual ~RArc() = default;

  IObject* IQuery(unsigned long id, int reserved) override;
  RArc* GetArc() override { return this; }

  /// Fails for a null or empty name, a name with a blank, quote or control character, or when a field is
  /// open.
  bool FieldWriteBegin(const char* name);
  void FieldWriteC(const char* text);  ///< null is written as the empty string
  void FieldWriteB(bool value);
  void FieldWriteI(int value);
  void FieldWriteD(double value);
  void FieldWriteEnd();

  bool HasField(const char* name) const;
  /// Returns the field's string, borrowed until the record changes, or `fallback` when the field is missing
  /// or holds no string.
  const char* FieldReadC(const char* name, const char* fallback) const;
  /// Read value `index` of a field; false, leaving `value` untouched, when it is missing or of another type.
  bool FieldReadB(const char* name, bool& value, int index = 0) const;
  bool FieldReadI(const char* name, int& value, int index = 0) const;
  bool FieldReadD(const char* name, double& value, int index = 0) const;

  /// Returns the record as text.
  std::string GetText() const;
  /// Replaces the record by the one that `text` holds; false, leaving the record as it was, when a line is
  /// malformed.
  bool SetText(const std::string& text);

 private:
  struct Value {
    std::string text;  // a string's characters, or a bare word
    bool isString = false;
  };
  struct Field {
    std::string name;
    std::vector<Value> values;
  };
  static bool ParseLine(std::string_view line, Field& field);
  const Field* Find(const char* name) const;
  const Value* FindValue(const char* name, int index) const;
  void Put(Field field);

  std::vector<Field> mFields;
  Field mOpen;  // the field being written; no name when none is
};

// The host's text archives.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "rbaselib/IArcObject.h"

/// One record of named fields, written and read as text in UTF-8: a line a field, `Name value value ...`, one
/// blank between. A value is a string in double quotes with the escapes `\"`, `\\` and `\xHH` (control
/// characters), `true` or `false`, or a number with the digits that bring the same value back. Lines end with
/// a line feed, a carriage return before it does not count, and empty lines do not either.
///
/// Writing brackets the values of a field: `FieldWriteBegin("Name")`, any number of `FieldWrite...`,
/// `FieldWriteEnd()`; a value outside the brackets is dropped. A field that is written again replaces the
/// earlier one in place. A record is used by one thread at a time.
class RBASELIB_API RArc : public IArcObject {
 public:
  RArc() = default;
  virtual ~RArc() = default;

  IObject* IQuery(unsigned long id, int reserved) override;
  RArc* GetArc() override { return this; }

  /// Opens a field of no values. Fails for a null or empty name, a name with a blank, quote or control
  /// character, or when a field is open.
  bool FieldWriteBegin(const char* name);
  ///@{
  /// Append a value to the open field: a string, of which null is the empty one, a truth value or a number.
  void FieldWriteC(const char* text);
  void FieldWriteB(bool value);
  void FieldWriteI(int value);
  void FieldWriteD(double value);
  ///@}
  /// Puts the open field into the record; nothing happens when none is open.
  void FieldWriteEnd();

  /// Returns whether the record has the field; a field that is still open does not count.
  bool HasField(const char* name) const;
  /// Returns the field's first value, a string, borrowed until the record changes, or `fallback` when the
  /// field is missing or its first value is no string.
  const char* FieldReadC(const char* name, const char* fallback) const;
  ///@{
  /// Read value `index` of a field, counted from 0; false, leaving `value` untouched, when it is missing or
  /// of another type. A whole number is read as a double too.
  bool FieldReadB(const char* name, bool& value, int index = 0) const;
  bool FieldReadI(const char* name, int& value, int index = 0) const;
  bool FieldReadD(const char* name, double& value, int index = 0) const;
  ///@}

  /// Returns the record as text, the fields in the order of their first writing.
  std::string GetText() const;
  /// Replaces the record by the one that `text` holds; of several fields of one name the last one counts, in
  /// the place of the first. False, leaving the record as it was, when a line is malformed. A field that is
  /// being written stays open.
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
  void WriteValue(std::string text, bool isString);

  std::vector<Field> mFields;
  std::map<std::string, std::size_t, std::less<>> mPlaces;  // from a field's name to its place in mFields
  Field mOpen;                                              // the field being written; no name when none is
};

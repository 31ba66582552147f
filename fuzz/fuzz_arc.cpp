// Archive records: a record that reads at all reads back from its own text, and any string survives the way
// through one.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "rbaselib/RArc.h"

namespace {

void Check(bool good) {
  if (!good) std::abort();
}

// Reads every kind of value under a name that the input chose.
void ReadFields(const RArc& arc, const std::string& name) {
  bool truth = false;
  int number = 0;
  double amount = 0;
  for (int index = -1; index < 4; ++index) {
    const bool isTruth = arc.FieldReadB(name.c_str(), truth, index);
    const bool isNumber = arc.FieldReadI(name.c_str(), number, index);
    const bool isAmount = arc.FieldReadD(name.c_str(), amount, index);
    Check(!isTruth || !isAmount);
    Check(!isNumber || isAmount);
  }
  Check(arc.HasField(name.c_str()) || !arc.FieldReadC(name.c_str(), nullptr));
}

void CheckRecord(const std::string& text) {
  RArc arc;
  if (!arc.SetText(text)) {
    Check(arc.GetText().empty());
    return;
  }
  const std::string written = arc.GetText();
  RArc again;
  Check(again.SetText(written) && again.GetText() == written);
  ReadFields(again, text.substr(0, text.find(' ')));
}

void CheckString(const std::string& text) {
  RArc arc;
  Check(arc.FieldWriteBegin("Text"));
  arc.FieldWriteC(text.c_str());
  arc.FieldWriteEnd();
  RArc read;
  Check(read.SetText(arc.GetText()));
  Check(read.FieldReadC("Text", "") == std::string(text.c_str()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckRecord(text);
  CheckString(text);
  return 0;
}

#include "EffectOperators.h"

#include <fmt/format.h>

#include <QString>
#include <algorithm>
#include <array>
#include <new>

#include "Suggestion.h"
#include "rbaselib/RObjectRegistry.h"

namespace {

constexpr const char* kGroup = "ArcStorable/ImageOperator";
constexpr std::string_view kPrefix = "RImOp";

struct EffectRow {
  std::string_view command;
  const char* className;
};
constexpr std::array kCommands{EffectRow{"blend", "RImOpBlend"}, EffectRow{"correct", "RImOpCC"},
                               EffectRow{"key", "RImOpKeyer"}};

std::string ShortName(const std::string& className) {
  return className.starts_with(kPrefix) ? className.substr(kPrefix.size()) : className;
}

bool IsSame(const std::string& a, const std::string& b) {
  return QString::fromStdString(a).compare(QString::fromStdString(b), Qt::CaseInsensitive) == 0;
}

}  // namespace

std::vector<OperatorEntry> ListOperators() {
  std::vector<OperatorEntry> entries;
  for (const RObjectRegistration& row : Object_GetRegistrations(kGroup)) {
    if (row.enabled) entries.push_back({row.name, row.type});
  }
  return entries;
}

std::string OperatorOfCommand(std::string_view command) {
  const auto* const row = std::ranges::find(kCommands, command, &EffectRow::command);
  return row == kCommands.end() ? "" : row->className;
}

std::string FindOperator(const std::string& subject, const std::string& name) {
  std::vector<std::string> known;
  for (const OperatorEntry& entry : ListOperators()) {
    const std::string shortName = ShortName(entry.name);
    if (IsSame(name, entry.name) || IsSame(name, shortName)) return entry.name;
    known.insert(known.end(), {entry.name, shortName});
  }
  for (const EffectRow& row : kCommands) {
    if (IsSame(name, std::string(row.command))) return row.className;
    known.emplace_back(row.command);
  }
  const std::string hint = Suggest(name, known);
  throw Failure(ExitCode::kUsage, subject, fmt::format("unknown operator '{}'", Printable(name)),
                hint.empty() ? "rimage operators lists them" : hint);
}

RDestroyPtr<RImageOperator> CreateOperator(const std::string& className) {
  IObject* const face = Object_Create(kGroup, className.c_str());
  RDestroyPtr<RImageOperator> op(face ? dynamic_cast<RImageOperator*>(face->IQuery(0, 0)) : nullptr);
  if (!op) throw std::bad_alloc();
  return op;
}

std::vector<std::string> PlugNames(const RImageOperator& op, RImageOperator::RPlugType type) {
  std::vector<std::string> names;
  names.reserve(static_cast<std::size_t>(op.GetNbPlugs(type)));
  for (int i = 0; i < op.GetNbPlugs(type); ++i) names.emplace_back(op.GetPlugName(i, type).GetChars());
  return names;
}

#include "EffectOperators.h"

#include <fmt/format.h>

#include <QString>
#include <new>
#include <string_view>

#include "Suggestion.h"
#include "rbaselib/RObjectRegistry.h"

namespace {

constexpr const char* kGroup = "ArcStorable/ImageOperator";
constexpr std::string_view kPrefix = "RImOp";

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

std::string FindOperator(const std::string& subject, const std::string& name) {
  std::vector<std::string> known;
  for (const OperatorEntry& entry : ListOperators()) {
    const std::string shortName = ShortName(entry.name);
    if (IsSame(name, entry.name) || IsSame(name, shortName)) return entry.name;
    known.insert(known.end(), {entry.name, shortName});
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

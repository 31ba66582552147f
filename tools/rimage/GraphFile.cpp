#include "GraphFile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "EffectOperators.h"
#include "Suggestion.h"

namespace {

using Json = nlohmann::ordered_json;
namespace fs = std::filesystem;

constexpr std::uintmax_t kMostBytes = 16U << 20U;

Failure Mistake(const std::string& path, const std::string& reason, const std::string& hint = {}) {
  return {ExitCode::kUsage, path, reason, hint};
}

std::string ReadText(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) throw Failure(ExitCode::kRead, path, "this is a folder");
  if (fs::exists(status) && !fs::is_regular_file(status))
    throw Failure(ExitCode::kRead, path, "this is no regular file");
  const std::uintmax_t size = fs::file_size(path, error);
  if (error) throw Failure(ExitCode::kRead, path, ErrorText(error.value()));
  if (size > kMostBytes) throw Failure(ExitCode::kRead, path, "the file is too large for a graph");
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) throw Failure(ExitCode::kRead, path, ErrorText(errno));
  return text.str();
}

// Of two values under one name the parser would silently drop one.
class NamesOnce {
 public:
  explicit NamesOnce(const std::string& path) : mPath(path) {}

  bool operator()(int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) mNames.emplace_back();
    if (event == Json::parse_event_t::object_end) mNames.pop_back();
    if (event == Json::parse_event_t::key && !mNames.back().insert(parsed.get<std::string>()).second) {
      throw Mistake(mPath, fmt::format("'{}' is there twice", Printable(parsed.get<std::string>())));
    }
    return true;
  }

 private:
  const std::string& mPath;
  std::vector<std::set<std::string>> mNames;
};

Json ParseJson(const std::string& path) {
  const std::string text = ReadText(path);
  try {
    return Json::parse(text, NamesOnce(path));
  } catch (const Json::parse_error& error) {
    // What stands in brackets is the library's number for it.
    const std::string what = error.what();
    const std::size_t start = what.find("] ");
    throw Mistake(path, "this is no JSON",
                  Printable(start == std::string::npos ? what : what.substr(start + 2)));
  }
}

// One value of the file, and where it stands.
class Value {
 public:
  Value(const std::string& path, std::string place, const Json& json)
      : mPath(path), mPlace(std::move(place)), mJson(json) {}

  const Json& Object(const std::vector<std::string>& keys) const {
    if (!mJson.is_object()) Fail("must be an object");
    for (const auto& [key, value] : mJson.items()) {
      if (!keys.empty() && std::ranges::find(keys, key) == keys.end())
        Fail(fmt::format("unknown key '{}'", Printable(key)), Suggest(key, keys));
    }
    return mJson;
  }
  std::string Text() const {
    if (!mJson.is_string()) Fail("must be a text");
    auto text = mJson.get<std::string>();
    if (text.find('\0') != std::string::npos) Fail("holds a zero byte");
    return text;
  }
  std::vector<std::string> Texts() const {
    if (!mJson.is_array()) Fail("must be a list of texts");
    std::vector<std::string> texts;
    for (const Json& item : mJson) texts.push_back(Value(mPath, mPlace, item).Text());
    return texts;
  }
  // The value of a property, as it would stand on the command line.
  std::string Setting() const {
    if (mJson.is_string()) return Text();
    if (mJson.is_number() || mJson.is_boolean()) return mJson.dump();
    if (!mJson.is_array() || !std::ranges::all_of(mJson, &Json::is_number))
      Fail("must be a text, a number, true, false or a list of numbers");
    std::vector<std::string> numbers;
    for (const Json& item : mJson) numbers.push_back(item.dump());
    return fmt::format("{}", fmt::join(numbers, " "));
  }
  // A part of an object under a key that it may have.
  template <class Use>
  bool With(const char* key, const Use& use) const {
    const auto found = mJson.find(key);
    if (found == mJson.end()) return false;
    use(Value(mPath, mPlace.empty() ? key : fmt::format("{}: {}", mPlace, key), *found));
    return true;
  }
  [[noreturn]] void Fail(const std::string& reason, const std::string& hint = {}) const {
    throw Mistake(mPath, mPlace.empty() ? "the graph " + reason : fmt::format("{}: {}", mPlace, reason),
                  hint);
  }

 private:
  const std::string& mPath;
  std::string mPlace;
  const Json& mJson;
};

// Files are written down as seen from the graph's folder, and used as seen from the working folder.
std::string FromGraph(const std::string& input, const std::string& graph) {
  return IsNodeName(input) ? input : (fs::path(graph).parent_path() / input).string();
}

std::string ToGraph(const std::string& input, const std::string& graph) {
  if (IsNodeName(input) || fs::path(input).is_absolute()) return input;
  const fs::path folder = fs::absolute(graph).lexically_normal().parent_path();
  return fs::absolute(input).lexically_normal().lexically_relative(folder).string();
}

GraphNode ToNode(const std::string& path, const std::string& name, const Json& json) {
  const Value value(path, "node " + Printable(name), json);
  if (name.empty() || !IsNodeName(name)) value.Fail("the name is empty or has a dot or a slash");
  (void)value.Object({"operator", "inputs", "properties", "record"});
  GraphNode node;
  node.name = name;
  const bool hasOperator = value.With("operator", [&](const Value& text) {
    node.operatorName = FindOperator(fmt::format("{}: node {}", path, name), text.Text());
  });
  if (!hasOperator) value.Fail("the operator is missing");
  (void)value.With("inputs", [&](const Value& list) {
    for (const std::string& input : list.Texts()) node.inputs.push_back(FromGraph(input, path));
  });
  (void)value.With("record", [&](const Value& list) {
    for (const std::string& line : list.Texts()) node.record += line + '\n';
  });
  (void)value.With("properties", [&](const Value& properties) {
    for (const auto& [key, setting] : properties.Object({}).items()) {
      if (key.find('\0') != std::string::npos) properties.Fail("a name holds a zero byte");
      const Value property(path, fmt::format("node {}: {}", Printable(name), Printable(key)), setting);
      node.settings.push_back({key, property.Setting()});
    }
  });
  return node;
}

Json ToJson(const GraphNode& node, const std::string& path) {
  Json json = {{"operator", node.operatorName}, {"inputs", Json::array()}};
  for (const std::string& input : node.inputs) json["inputs"].push_back(ToGraph(input, path));
  if (!node.record.empty()) {
    std::istringstream lines(node.record);
    for (std::string line; std::getline(lines, line);) json["record"].push_back(line);
  }
  for (const PropertySetting& setting : node.settings) json["properties"][setting.name] = setting.value;
  return json;
}

}  // namespace

Graph ReadGraph(const std::string& path) {
  const Json json = ParseJson(path);
  const Value value(path, "", json);
  (void)value.Object({"nodes", "output"});
  Graph graph;
  graph.subject = path;
  (void)value.With("nodes", [&](const Value& nodes) {
    for (const auto& [name, node] : nodes.Object({}).items()) graph.nodes.push_back(ToNode(path, name, node));
  });
  (void)value.With("output", [&](const Value& output) { graph.output = output.Text(); });
  return graph;
}

void WriteGraph(const Graph& graph, OutputFile& output) {
  const std::string& path = output.Name();
  Json json = {{"nodes", Json::object()}};
  for (const GraphNode& node : graph.nodes) json["nodes"][node.name] = ToJson(node, path);
  if (!graph.output.empty()) json["output"] = graph.output;
  std::ofstream file(output.TemporaryPath(), std::ios::binary);
  file << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
  file.close();
  if (!file) throw Failure(ExitCode::kWrite, path, output.FindReason());
  output.Complete();
}

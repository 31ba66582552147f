// rimage formats: what can be read and written.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "FileFormats.h"

namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const std::vector<StreamEntry>& entries) {
  Json list = Json::array();
  for (const StreamEntry& entry : entries) {
    list.push_back(
        {{"extension", entry.extension}, {"class", entry.className}, {"available", entry.available}});
  }
  return list;
}

void PrintJson() {
  const Json json = {{"readers", ToJson(ListStreams(kReaderGroup))},
                     {"writers", ToJson(ListStreams(kWriterGroup))},
                     {"qt", {{"reads", ListQtReaders()}, {"writes", ListQtWriters()}}}};
  fmt::print("{}\n", json.dump(2));
}

void PrintEntries(const char* title, const std::vector<StreamEntry>& entries) {
  fmt::print("{}\n", title);
  for (const StreamEntry& entry : entries) {
    fmt::print("  {:<6}{}{}\n", entry.extension, entry.className,
               entry.available ? "" : " (Qt plugin missing)");
  }
}

void PrintText() {
  PrintEntries("Readers, by extension:", ListStreams(kReaderGroup));
  PrintEntries("Writers, by extension:", ListStreams(kWriterGroup));
  fmt::print("Written through Qt as well:\n  {}\n", fmt::join(ListQtWriters(), ", "));
  fmt::print("Contents that Qt knows in files of the RImageStreamQT extensions:\n  {}\n",
             fmt::join(ListQtReaders(), ", "));
}

}  // namespace

Command AddFormatsCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("formats", "List what can be read and written");
  const auto json = std::make_shared<bool>(false);
  command->add_flag("--json", *json, "Print JSON");
  return {command,
          [json](Host&) {
            *json ? PrintJson() : PrintText();
            return ExitCode::kOk;
          },
          {{"What can be read and written", "rimage formats"}}};
}

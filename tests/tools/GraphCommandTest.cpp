// rimage graph: graphs of effects from files, checked whole before a picture is read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using Json = nlohmann::ordered_json;
using test::RunTool;
using testing::HasSubstr;
using testing::StartsWith;

Json Node(const std::vector<std::string>& inputs, const Json& properties = Json::object()) {
  return {{"operator", "RImOpBlend"}, {"inputs", inputs}, {"properties", properties}};
}

class GraphCommand : public testing::Test {
 protected:
  std::string Write(const std::string& text) const {
    return mFolder.Write("graph.json", {text.begin(), text.end()});
  }

  test::ToolResult Run(const std::string& text, const test::Arguments& more = {}) const {
    test::Arguments arguments = {"graph", Write(text), mOut};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTool(arguments);
  }
  test::ToolResult Run(const Json& graph, const test::Arguments& more = {}) const {
    return Run(graph.dump(), more);
  }

  // Opaque pictures of one pixel.
  void SavePixel(const char* name, QRgb colour) const {
    test::Save(test::MakeImage(1, {colour}), mFolder.Path(name));
  }
  QRgb Pixel() const { return test::Load(mOut).pixel(0, 0); }

  test::TemporaryFolder mFolder;
  std::string mOut = mFolder.Path("out.png");
};

// a + b, of which the red is taken twice: once as it is and once through another node.
TEST_F(GraphCommand, NodesReadFilesAndNodes) {
  SavePixel("a.png", 0xFF100000);
  SavePixel("b.png", 0xFF002000);
  SavePixel("c.png", 0xFF000040);
  const Json graph = {{"nodes",
                       {{"last", Node({"sum", "more"}, {{"Preset", "A + B"}})},
                        {"more", Node({"sum", "c.png"}, {{"Preset", "A + B"}})},
                        {"sum", Node({"a.png", "b.png"}, {{"Preset", "A + B"}})}}},
                      {"output", "last"}};
  const auto result = Run(graph);
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(Pixel(), 0xFF204040U) << "sum + (sum + c)";
  Json other = graph;
  other["output"] = "sum";
  EXPECT_EQ(Run(other).errors, "rimage: " + mFolder.Path("graph.json") + ": node last is not used\nrimage: " +
                                   mFolder.Path("graph.json") + ": node more is not used\n");
  EXPECT_EQ(Pixel(), 0xFF102000U);
  other.erase("output");
  ASSERT_EQ(Run(other).code, 0);
  EXPECT_EQ(Pixel(), 0xFF204040U) << "the node that no other reads";
}

TEST_F(GraphCommand, PropertiesApplyInWrittenOrder) {
  SavePixel("a.png", 0xFFFF0000);
  SavePixel("b.png", 0xFF00FF00);
  const auto run = [&](const char* properties) {
    const auto result = Run(std::string(R"({"nodes": {"x": {"operator": "blend", "inputs": ["a.png", "b.png"],
                                            "properties": {)") +
                            properties + "}}}}");
    EXPECT_EQ(result.code, 0) << result.errors;
    return Pixel();
  };
  EXPECT_EQ(run(R"("Preset": "B", "AFactorRGB": 1)"), 0xFFFFFF00U);
  EXPECT_EQ(run(R"("AFactorRGB": 1, "Preset": "B")"), 0xFF00FF00U);
  EXPECT_EQ(run(R"("AFactorRGB": 10, "Color": [0.5, 0, 0.0])"), 0xFF800000U);
}

TEST_F(GraphCommand, FilesAreFoundFromTheGraphsFolder) {
  SavePixel("a.png", 0xFF123456);
  std::filesystem::create_directory(mFolder.Path("sub"));
  const std::string text = Json{{"nodes", {{"x", Node({"../a.png"})}}}}.dump();
  test::WriteFile(mFolder.Path("sub/graph.json"), {text.begin(), text.end()});
  for (const std::string& folder : {mFolder.Path(""), mFolder.Path("sub"), std::string("/")}) {
    const auto result = RunTool({"graph", mFolder.Path("sub/graph.json"), mOut}, {.folder = folder});
    EXPECT_EQ(result.code, 0) << result.errors;
  }
  EXPECT_EQ(Pixel(), 0xFF123456U);
  EXPECT_EQ(RunTool({"graph", "graph.json", mOut}, {.folder = mFolder.Path("sub")}).code, 0);
}

TEST_F(GraphCommand, ALongChainIsEvaluated) {
  SavePixel("a.png", 0xFF000000);
  SavePixel("b.png", 0xFF000001);
  Json graph = {{"nodes", {{"n0", Node({"a.png", "b.png"}, {{"Preset", "A + B"}})}}}};
  for (int i = 1; i < 200; ++i)
    graph["nodes"]["n" + std::to_string(i)] =
        Node({"n" + std::to_string(i - 1), "b.png"}, {{"Preset", "A + B"}});
  const auto result = Run(graph);
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(Pixel(), 0xFF000000U + 200);
}

// --- Records.

TEST_F(GraphCommand, SavedGraphsHoldTheHostsRecordsAndGiveTheSamePicture) {
  test::Save(test::MakeTranslucent(30, 20), mFolder.Path("a.png"));
  test::Save(test::MakeTranslucent(20, 30).mirrored(), mFolder.Path("b.png"));
  const std::string saved = mFolder.Path("saved.json");
  auto result = RunTool({"blend", mFolder.Path("a.png"), mFolder.Path("b.png"), mOut, "--set", "Preset=blend",
                         "--set", "Alpha=37.5", "--set", "AFactorAlpha=1", "--save", saved});
  ASSERT_EQ(result.code, 0) << result.errors;
  const auto bytes = test::ReadFile(saved);
  const Json graph = Json::parse(bytes);
  EXPECT_EQ(graph["nodes"]["blend"]["record"],
            Json({"Name \"Blend\"", "Preset 0", "Color 1 1 1", "Alpha 37.5", "FuncRGB 0", "FuncAlpha 0",
                  "AFactorRGB 12", "AFactorAlpha 1", "BFactorRGB 14", "BFactorAlpha 14"}));
  const QImage first = test::Load(mOut);
  result = RunTool({"graph", saved, mOut, "--save", mFolder.Path("again.json")});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(test::PixelsOf(test::Load(mOut)), test::PixelsOf(first));
  EXPECT_EQ(test::ReadFile(mFolder.Path("again.json")), bytes) << "nothing is lost on the way";
}

TEST_F(GraphCommand, SavedPathsFollowTheFileAndAbsoluteOnesStay) {
  SavePixel("a.png", 0xFF123456);
  std::filesystem::create_directory(mFolder.Path("sub"));
  const auto saved = [&](const std::string& input) {
    const auto result =
        RunTool({"blend", input, input, "out.png", "--save", "sub/g.json"}, {.folder = mFolder.Path("")});
    EXPECT_EQ(result.code, 0) << result.errors;
    return Json::parse(test::ReadFile(mFolder.Path("sub/g.json")))["nodes"]["blend"]["inputs"][0]
        .get<std::string>();
  };
  EXPECT_EQ(saved("a.png"), "../a.png");
  EXPECT_EQ(saved(mFolder.Path("a.png")), mFolder.Path("a.png"));
}

TEST_F(GraphCommand, PropertiesApplyAfterTheRecord) {
  SavePixel("a.png", 0xFFFF0000);
  SavePixel("b.png", 0xFF00FF00);
  Json node = Node({"a.png", "b.png"}, {{"AFactorRGB", 1}});
  node["record"] = {"Name \"N\"",     "Preset 5",     "AFactorRGB 0",
                    "AFactorAlpha 0", "BFactorRGB 1", "BFactorAlpha 1"};
  const auto result = Run(Json{{"nodes", {{"x", node}}}});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(Pixel(), 0xFFFFFF00U);
}

// --- Mistakes. None of the files exists: they are told before one is read.

struct Mistake {
  const char* name;
  std::string graph;
  const char* message;  // behind the name of the graph's file
};

std::string Nodes(const std::string& nodes) { return "{\"nodes\": {" + nodes + "}}"; }
std::string One(const std::string& rest) { return Nodes(R"("x": {"operator": "RImOpBlend")" + rest + "}"); }

class GraphMistakes : public GraphCommand, public testing::WithParamInterface<Mistake> {};

TEST_P(GraphMistakes, AreToldBeforeAPictureIsRead) {
  const auto result = Run(GetParam().graph);
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.errors, StartsWith("rimage: " + mFolder.Path("graph.json") + ": " + GetParam().message));
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), std::vector<std::string>{"graph.json"});
}

INSTANTIATE_TEST_SUITE_P(
    All, GraphMistakes,
    testing::Values(
        Mistake{"empty", "", "this is no JSON (parse error at line 1"},
        Mistake{"cut", "{\"nodes\": {", "this is no JSON (parse error at line 1"},
        Mistake{"list", "[]", "the graph must be an object\n"},
        Mistake{"noNodes", "{}", "there are no nodes\n"},
        Mistake{"nodeList", "{\"nodes\": []}", "nodes: must be an object\n"},
        Mistake{"key", "{\"nodse\": {}}", "the graph unknown key 'nodse' (did you mean nodes?)\n"},
        Mistake{"twice", Nodes(R"("x": {}, "x": {})"), "'x' is there twice\n"},
        Mistake{"propertyTwice", One(R"(, "properties": {"Alpha": 1, "Alpha": 2})"),
                "'Alpha' is there twice\n"},
        Mistake{"nodeName", Nodes(R"("a.b": {})"), "node a.b: the name is empty or has a dot or a slash\n"},
        Mistake{"emptyName", Nodes(R"("": {})"), "node : the name is empty or has a dot or a slash\n"},
        Mistake{"noOperator", Nodes(R"("x": {})"), "node x: the operator is missing\n"},
        Mistake{"operator", Nodes(R"("x": {"operator": "RImOpBlemd"})"),
                "node x: unknown operator 'RImOpBlemd' (did you mean RImOpBlend?)\n"},
        Mistake{"operatorNumber", Nodes(R"("x": {"operator": 3})"), "node x: operator: must be a text\n"},
        Mistake{"nodeKey", One(R"(, "input": [])"), "node x: unknown key 'input' (did you mean inputs?)\n"},
        Mistake{"inputs", One(R"(, "inputs": "a.png")"), "node x: inputs: must be a list of texts\n"},
        Mistake{"inputNumber", One(R"(, "inputs": [1])"), "node x: inputs: must be a text\n"},
        Mistake{"zeroByte", One(R"(, "inputs": ["a.png\u0000.png"])"), "node x: inputs: holds a zero byte\n"},
        Mistake{"property", One(R"(, "inputs": ["a.png"], "properties": {"Preste": 1})"),
                "node x: RImOpBlend has no property 'Preste' (did you mean Preset?)\n"},
        Mistake{"value", One(R"(, "inputs": ["a.png"], "properties": {"Alpha": "x"})"),
                "node x: wrong value 'x' for Alpha (a number)\n"},
        Mistake{"valueType", One(R"(, "properties": {"Alpha": null})"),
                "node x: Alpha: must be a text, a number, true, false or a list of numbers\n"},
        Mistake{"valueList", One(R"(, "properties": {"Alpha": ["1"]})"),
                "node x: Alpha: must be a text, a number, true, false or a list of numbers\n"},
        Mistake{"record", One(R"(, "inputs": ["a.png"], "record": ["Name \"x"])"),
                "node x: the record is malformed\n"},
        Mistake{"recordValue", One(R"(, "inputs": ["a.png"], "record": ["Alpha \"x\""])"),
                "node x: a value of the record does not fit its property\n"},
        Mistake{"node", Nodes(R"("over": {"operator": "blend", "inputs": ["a.png"]},
                                 "x": {"operator": "blend", "inputs": ["ovre"]})"),
                "node x: there is no node 'ovre' (did you mean over?)\n"},
        Mistake{"farNode", One(R"(, "inputs": ["frobnicate"])"),
                "node x: there is no node 'frobnicate' (names of files have an extension)\n"},
        Mistake{"output", R"({"nodes": {"over": {"operator": "blend"}}, "output": "ovr"})",
                "output: there is no node 'ovr' (did you mean over?)\n"},
        Mistake{"twoOutputs", Nodes(R"("x": {"operator": "blend"}, "y": {"operator": "blend"})"),
                "the output is missing (nodes that no other reads: x, y)\n"},
        Mistake{"self", One(R"(, "inputs": ["x"])"), "nodes go in a circle: x -> x ("},
        Mistake{"circle", Nodes(R"("end": {"operator": "blend", "inputs": ["a"]},
                                   "a": {"operator": "blend", "inputs": ["p.png", "b"]},
                                   "b": {"operator": "blend", "inputs": ["c"]},
                                   "c": {"operator": "blend", "inputs": ["a"]})"),
                "nodes go in a circle: a -> b -> c -> a (an arrow goes from a node to what it reads)\n"},
        Mistake{"fewInputs", One(""), "node x: 0 inputs given, RImOpBlend reads 1 to 2 (IN_0, IN_1)\n"},
        Mistake{"oneOfTwo", One(R"(, "inputs": ["a.png"], "properties": {"Preset": 6})"),
                "node x: 1 input given, RImOpBlend reads 2 (IN_0, IN_1)\n"},
        Mistake{"manyInputs", One(R"(, "inputs": ["a.png", "b.png", "c.png"])"),
                "node x: 3 inputs given, RImOpBlend reads 1 to 2 (IN_0, IN_1)\n"}),
    [](const auto& row) { return row.param.name; });

TEST_F(GraphCommand, MoreNodesThanStackAreRefused) {
  Json graph = {{"nodes", {{"n0", Node({"a.png"})}}}};
  for (int i = 1; i <= 1000; ++i)
    graph["nodes"]["n" + std::to_string(i)] = Node({"n" + std::to_string(i - 1)});
  const auto result = Run(graph);
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.errors, HasSubstr(": 1001 nodes are more than 1000\n"));
}

TEST_F(GraphCommand, FilesThatCannotBeReadFail) {
  auto result = RunTool({"graph", mFolder.Path("none.json"), mOut});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("none.json: No such file or directory\n"));
  result = RunTool({"graph", mFolder.Path(""), mOut});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("this is a folder\n"));
  result = Run(One(R"(, "inputs": ["a.png"])"));
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors, "rimage: " + mFolder.Path("a.png") + ": No such file or directory\n");
  result = Run(One(R"(, "inputs": ["a.xyz"])"));
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("a.xyz: no way to read the extension 'xyz'"));
}

TEST_F(GraphCommand, ADirectoryThatIsMissingFailsTheSaving) {
  SavePixel("a.png", 0xFF123456);
  const auto result = Run(Json{{"nodes", {{"x", Node({"a.png"})}}}}, {"--save", mFolder.Path("none/g.json")});
  EXPECT_EQ(result.code, 4);
  EXPECT_THAT(result.errors, HasSubstr("none/g.json: "));
}

TEST_F(GraphCommand, ExplainsEveryNode) {
  SavePixel("a.png", 0xFF123456);
  const Json graph = {
      {"nodes", {{"one", Node({"a.png"})}, {"two", Node({"one", "a.png"}, {{"Preset", 6}})}}}};
  const auto result = Run(graph, {"--explain"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output, StartsWith("one: RImOpBlend\n"));
  EXPECT_THAT(result.output,
              HasSubstr("\ntwo: RImOpBlend\n  IN_0      node one: 1 x 1 RGBA, premultiplied\n"));
}

}  // namespace

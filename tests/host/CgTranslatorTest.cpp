// The translator of the Cg runtime, as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cg/internal/Translator.h"
#include "support/CgPrograms.h"

namespace {

using cg::Stage;
using test::FragmentProgram;
using testing::HasSubstr;

std::string ErrorOf(const std::string& source, Stage stage = Stage::kFragment, const char* entry = "main") {
  std::string error;
  const auto translation = cg::Translate(source, entry, stage, error);
  EXPECT_NE(translation.has_value(), !error.empty()) << "either a translation or an error";
  return error;
}

/// The statements of a translated fragment program, without those for its output.
std::string Statements(const std::string& body) {
  std::string error;
  const auto translation = cg::Translate(FragmentProgram(body), "main", Stage::kFragment, error);
  if (!translation) return error;
  const std::string first = "vec4 c_color_1 = vec4(0.0);\n";
  const std::string last = "  gl_FragColor = vec4(c_color_1);\n}\n";
  const std::size_t begin = translation->glsl.find(first) + first.size();
  EXPECT_TRUE(translation->glsl.ends_with(last)) << translation->glsl;
  return translation->glsl.substr(begin, translation->glsl.size() - last.size() - begin);
}

TEST(CgTranslator, WritesAFragmentProgram) {
  std::string error;
  const auto translation = cg::Translate(
      "void pick(float2 at : TEXCOORD3, float4 tint : COLOR, uniform float1 gain,\n"
      "          uniform sampler2D picture, out float3 result : COLOR) {\n"
      "  result = gain * tex2D(picture, at).rgb + tint.xyz;\n}",
      "pick", Stage::kFragment, error);
  ASSERT_TRUE(translation) << error;
  EXPECT_EQ(translation->glsl,
            "#version 130\n"
            "uniform float c_gain_2;\n"
            "uniform sampler2D c_picture_3;\n"
            "void main() {\n"
            "  vec2 c_at_0 = gl_TexCoord[3].xy;\n"
            "  vec4 c_tint_1 = gl_Color;\n"
            "  vec3 c_result_4 = vec3(0.0);\n"
            "  c_result_4 = ((c_gain_2 * texture(c_picture_3, c_at_0).rgb) + c_tint_1.xyz);\n"
            "  gl_FragColor = vec4(c_result_4, 1.0);\n"
            "}\n");
}

TEST(CgTranslator, WritesAVertexProgram) {
  std::string error;
  const auto translation = cg::Translate(test::kPassVertex, "main", Stage::kVertex, error);
  ASSERT_TRUE(translation) << error;
  EXPECT_EQ(translation->glsl,
            "#version 130\n"
            "void main() {\n"
            "  vec2 c_position_0 = gl_Vertex.xy;\n"
            "  vec2 c_texCoord_1 = gl_MultiTexCoord0.xy;\n"
            "  vec4 c_oPosition_3 = vec4(0.0);\n"
            "  vec2 c_oTexCoord_4 = vec2(0.0);\n"
            "  c_oPosition_3 = (gl_ModelViewProjectionMatrix * vec4(c_position_0, 0, 1));\n"
            "  c_oTexCoord_4 = c_texCoord_1;\n"
            "  gl_Position = vec4(c_oPosition_3);\n"
            "  gl_TexCoord[0] = vec4(c_oTexCoord_4, 0.0, 1.0);\n"
            "}\n");
}

TEST(CgTranslator, BindsEverySemantic) {
  std::string error;
  const auto vertex = cg::Translate(
      "void main(float4 p : POSITION, float4 c : COLOR0, float4 t : TEXCOORD7, float1 s : TEXCOORD,"
      "out float4 op : POSITION, out float4 oc : COLOR, out float1 ot : TEXCOORD5) {}",
      "main", Stage::kVertex, error);
  ASSERT_TRUE(vertex) << error;
  for (const char* part : {"= gl_Vertex;", "= gl_Color;", "= gl_MultiTexCoord7;", "= gl_MultiTexCoord0.x;",
                           "gl_Position = vec4(", "gl_FrontColor = vec4(", "gl_TexCoord[5] = vec4("})
    EXPECT_THAT(vertex->glsl, HasSubstr(part));
  EXPECT_THAT(vertex->glsl, HasSubstr("gl_TexCoord[5] = vec4(c_ot_6, 0.0, 0.0, 1.0);"));
}

TEST(CgTranslator, KnowsWhichParametersAreUsed) {
  std::string error;
  const auto translation = cg::Translate(FragmentProgram("color = tex2D(rightImage, texCoord) * y_base;"),
                                         "main", Stage::kFragment, error);
  ASSERT_TRUE(translation) << error;
  std::string used;
  std::string units;
  for (const cg::TranslatedParameter& parameter : translation->parameters) {
    used += parameter.name + (parameter.isReferenced ? "+ " : "- ");
    units += std::to_string(parameter.unit) + ' ';
  }
  EXPECT_EQ(used, "texCoord+ color+ screenHeight- screenWidth- x_base- y_base+ leftImage- rightImage+ ");
  EXPECT_EQ(units, "-1 -1 -1 -1 -1 -1 0 1 ") << "each sampler has a unit, used or not";
}

TEST(CgTranslator, TakesTheEntryPointByName) {
  const std::string source =
      "void a(out float4 c : COLOR) { c = 1; }\nvoid b(out float4 c : COLOR) { c = 2; }\n";
  std::string error;
  EXPECT_THAT(cg::Translate(source, "a", Stage::kFragment, error)->glsl, HasSubstr("= vec4(1);"));
  EXPECT_THAT(cg::Translate(source, "b", Stage::kFragment, error)->glsl, HasSubstr("= vec4(2);"));
  EXPECT_EQ(ErrorOf(source, Stage::kFragment, "c"), "line 1: there is no function 'c'");
  EXPECT_EQ(ErrorOf(source + "void a() {}", Stage::kFragment, "a"),
            "line 3: the function 'a' is there twice");
}

TEST(CgTranslator, NoNameCanCollideWithGlsl) {
  EXPECT_EQ(
      Statements("float vec4 = 1; float gl_FragColor = vec4; float a__b_ = gl_FragColor; color.x = a__b_;"),
      "  float c_vec4_8 = float(1);\n"
      "  float c_gl_FragColor_9 = c_vec4_8;\n"
      "  float c_a_b_10 = c_gl_FragColor_9;\n"
      "  c_color_1.x = c_a_b_10;\n");
  const std::string name(256, 'n');
  EXPECT_EQ(Statements("float " + name + ";"), "  float c_" + std::string(64, 'n') + "_8 = float(0.0);\n");
}

TEST(CgTranslator, BlanksAndCommentsDoNotCount) {
  EXPECT_EQ(Statements("color\t.\tx\n=\r\f\v1.0// end\n/* in\nbetween * / **/;"), "  c_color_1.x = 1.0;\n");
}

TEST(CgTranslator, InnerScopesHideOuterOnes) {
  EXPECT_EQ(Statements("float a = 1.5; { float a = a; color.x = a; } color.y = a;"),
            "  float c_a_8 = 1.5;\n"
            "  {\n"
            "    float c_a_9 = c_a_8;\n"
            "    c_color_1.x = c_a_9;\n"
            "  }\n"
            "  c_color_1.y = c_a_8;\n");
}

TEST(CgTranslator, ReturnsCopyTheOutputs) {
  EXPECT_EQ(Statements("if (x_base > 1) return; else color = 1;"),
            "  if ((c_x_base_4 > float(1))) {\n"
            "    gl_FragColor = vec4(c_color_1);\n"
            "    return;\n"
            "  } else {\n"
            "    c_color_1 = vec4(1);\n"
            "  }\n");
}

struct Rendering {
  const char* cg;
  const char* glsl;
};
void PrintTo(const Rendering& row, std::ostream* out) { *out << row.cg; }

class CgExpression : public testing::TestWithParam<Rendering> {};

TEST_P(CgExpression, IsWritten) {
  EXPECT_EQ(Statements(GetParam().cg), "  " + std::string(GetParam().glsl) + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, CgExpression,
    testing::Values(
        // Literals.
        Rendering{"color.x = 0.1140;", "c_color_1.x = 0.114;"},
        Rendering{"color.x = .5f;", "c_color_1.x = 0.5;"}, Rendering{"color.x = 2.h;", "c_color_1.x = 2.0;"},
        Rendering{"color.x = 1e3x;", "c_color_1.x = 1000.0;"},
        Rendering{"color.x = 1e+20;", "c_color_1.x = 1e+20;"},
        Rendering{"color.x = 2147483647;", "c_color_1.x = float(2147483647);"},
        Rendering{"bool b = true;", "bool c_b_8 = true;"},
        // Variables.
        Rendering{"float3 v;", "vec3 c_v_8 = vec3(0.0);"}, Rendering{"int i;", "int c_i_8 = int(0);"},
        Rendering{"bool b;", "bool c_b_8 = bool(false);"}, Rendering{"int i = 3;", "int c_i_8 = 3;"},
        Rendering{"float3 v = { 0.1, 1, 2.5 };", "vec3 c_v_8 = vec3(0.1, 1, 2.5);"},
        Rendering{"float4 v = { { 1, texCoord }, 2 };", "vec4 c_v_8 = vec4(1, c_texCoord_0, 2);"},
        Rendering{"float v = { 1 };", "float c_v_8 = float(1);"},
        // Conversions of assignments.
        Rendering{"float f = 1;", "float c_f_8 = float(1);"},
        Rendering{"int i = 1.5;", "int c_i_8 = int(1.5);"},
        Rendering{"int i = texCoord;", "int c_i_8 = int(c_texCoord_0.x);"},
        Rendering{"float2 v = color;", "vec2 c_v_8 = c_color_1.xy;"},
        Rendering{"float3 v = 2;", "vec3 c_v_8 = vec3(2);"},
        Rendering{"bool b = x_base;", "bool c_b_8 = bool(c_x_base_4);"},
        Rendering{"float f = true;", "float c_f_8 = float(true);"},
        // Components.
        Rendering{"color.yz = color.zy;", "c_color_1.yz = c_color_1.zy;"},
        Rendering{"color.rgba = color.aaaa;", "c_color_1.rgba = c_color_1.aaaa;"},
        Rendering{"color.x = x_base.x;", "c_color_1.x = c_x_base_4;"},
        Rendering{"color = x_base.xxxx;", "c_color_1 = vec4(c_x_base_4);"},
        Rendering{"color.xy = (texCoord + 1).yx.xy;", "c_color_1.xy = (c_texCoord_0 + float(1)).yx.xy;"},
        // Operators bind as in C.
        Rendering{"color.x = 1.0 - 2.0 - 3.0 * 4.0;", "c_color_1.x = ((1.0 - 2.0) - (3.0 * 4.0));"},
        Rendering{"bool b = 1 < 2 == true && !false || 3 >= 4;",
                  "bool c_b_8 = ((((1 < 2) == true) && (!false)) || (3 >= 4));"},
        Rendering{"int i = -1 - -2 % 3 / 4;", "int c_i_8 = ((-1) - (((-2) % 3) / 4));"},
        Rendering{"int i = (1 + 2) * 3;", "int c_i_8 = ((1 + 2) * 3);"},
        Rendering{"bool b = 1 == 1.0;", "bool c_b_8 = (float(1) == 1.0);"},
        Rendering{"bool b = true != false;", "bool c_b_8 = (true != false);"},
        Rendering{"bool b = true < 2;", "bool c_b_8 = (float(true) < float(2));"},
        Rendering{"bool b = 1 && x_base;", "bool c_b_8 = (bool(1) && bool(c_x_base_4));"},
        Rendering{"bool b = !x_base;", "bool c_b_8 = (!bool(c_x_base_4));"},
        Rendering{"color = 2 * color;", "c_color_1 = (float(2) * c_color_1);"},
        Rendering{"color = +color / x_base;", "c_color_1 = ((+c_color_1) / c_x_base_4);"},
        // Compound assignments.
        Rendering{"color.xy += 1;", "c_color_1.xy = (c_color_1.xy + float(1));"},
        Rendering{"color -= x_base;", "c_color_1 = (c_color_1 - c_x_base_4);"},
        Rendering{"color *= color;", "c_color_1 = (c_color_1 * c_color_1);"},
        Rendering{"color.x /= 2.0;", "c_color_1.x = (c_color_1.x / 2.0);"},
        // Constructors and functions.
        Rendering{"color = float4(texCoord, 0, 1);", "c_color_1 = vec4(c_texCoord_0, 0, 1);"},
        Rendering{"color = float4(1);", "c_color_1 = vec4(1);"},
        Rendering{"color.xyz = float3(color);", "c_color_1.xyz = c_color_1.xyz;"},
        Rendering{"int i = int(trunc(x_base)) + int(1);", "int c_i_8 = (int(trunc(c_x_base_4)) + 1);"},
        Rendering{"color.x = dot(texCoord, color.xy);", "c_color_1.x = dot(c_texCoord_0, c_color_1.xy);"},
        Rendering{"color = saturate(color);", "c_color_1 = clamp(c_color_1, 0.0, 1.0);"},
        Rendering{"color = tex2D(leftImage , texCoord);",
                  "c_color_1 = texture(c_leftImage_6, c_texCoord_0);"},
        Rendering{"texCoord.x = 1.0;", "c_texCoord_0.x = 1.0;"}));

struct Fault {
  const char* body;
  const char* error;
};
void PrintTo(const Fault& row, std::ostream* out) { *out << row.body; }

class CgFault : public testing::TestWithParam<Fault> {};

// The body begins in line 3.
TEST_P(CgFault, IsTold) { EXPECT_EQ(ErrorOf(FragmentProgram(GetParam().body)), GetParam().error); }

INSTANTIATE_TEST_SUITE_P(
    Statements, CgFault,
    testing::Values(Fault{"color = 1", "line 4: expected ';' before '}'"},
                    Fault{"\n\ncolor = ;", "line 5: expected a value before ';'"},
                    Fault{"colour = 1;", "line 3: 'colour' is not declared"},
                    Fault{"1 = color;", "line 3: only a variable or its components can be assigned to"},
                    Fault{"color + 1;", "line 3: expected an assignment before ';'"},
                    Fault{"tex2D(leftImage, texCoord);", "line 3: expected an assignment before ';'"},
                    Fault{"color = color = 1;", "line 3: expected ';' before '='"},
                    Fault{"int i = 1; i++;", "line 3: expected an assignment before '++'"},
                    Fault{"color.xyz.x = 1;", "line 3: only a variable or its components can be assigned to"},
                    Fault{"x_base = 1;", "line 3: 'x_base' is uniform and cannot be changed"},
                    Fault{"leftImage = rightImage;", "line 3: 'leftImage' is uniform and cannot be changed"},
                    Fault{"color.xx = 1;", "line 3: a component cannot be assigned to twice: 'xx'"},
                    Fault{"float f; f.xx = 1;", "line 3: a component cannot be assigned to twice: 'xx'"},
                    Fault{"float f; f.xy = 1;", "line 3: float has no components 'xy'"},
                    Fault{"color += leftImage;", "line 3: '+' needs two numbers"},
                    Fault{"float color;", "line 3: 'color' is declared twice"},
                    Fault{"float a; float a;", "line 3: 'a' is declared twice"},
                    Fault{"{ float a; } color.x = a;", "line 3: 'a' is not declared"},
                    Fault{"float a = a;", "line 3: 'a' is not declared"},
                    Fault{"float a[2];", "line 3: arrays are not supported"},
                    Fault{"color.x = texCoord[0];", "line 3: elements in brackets are not supported"},
                    Fault{"float4x4 m;", "line 3: a variable cannot be a float4x4"},
                    Fault{"sampler2D s;", "line 3: a variable cannot be a sampler2D"},
                    Fault{"void v;", "line 3: a variable cannot be a void"},
                    Fault{"half4 h;", "line 3: the type 'half4' is not supported"},
                    Fault{"float3x3 m;", "line 3: the type 'float3x3' is not supported"},
                    Fault{"const float f = 1;", "line 3: 'const' is not supported"},
                    Fault{"for (;;) {}", "line 3: 'for' is not supported"},
                    Fault{"while (true) color = 1;", "line 3: 'while' is not supported"},
                    Fault{"discard;", "line 3: 'discard' is not supported"},
                    Fault{"return color;", "line 3: a function of type void returns no value"},
                    Fault{"if color", "line 3: expected '(' before 'color'"},
                    Fault{"if (color) {}", "line 3: a condition is a scalar"},
                    Fault{"if (leftImage) {}", "line 3: a condition is a scalar"},
                    Fault{"else color = 1;", "line 3: expected a value before 'else'"},
                    Fault{"if (true) float a;", "line 3: expected '(' before 'a'"},
                    Fault{"{ color = 1;", "line 5: expected '}' before the end"},
                    Fault{"} }", "line 3: expected a type before '}'"},
                    Fault{"float if;", "line 3: expected a name before 'if'"},
                    Fault{"float float4;", "line 3: expected a name before 'float4'"},
                    Fault{"float 1a;", "line 3: the number is followed by a letter"}));

INSTANTIATE_TEST_SUITE_P(
    Expressions, CgFault,
    testing::Values(
        Fault{"color = color.xyzwx;", "line 3: float4 has no components 'xyzwx'"},
        Fault{"color.xy = color.xg;", "line 3: float4 has no components 'xg'"},
        Fault{"color.x = texCoord.z;", "line 3: float2 has no components 'z'"},
        Fault{"color.x = color.st;", "line 3: float4 has no components 'st'"},
        Fault{"int i = 1; color.x = i.x;", "line 3: int has no components 'x'"},
        Fault{"color.x = leftImage.x;", "line 3: sampler2D has no components 'x'"},
        Fault{"color = texCoord;", "line 3: a float2 cannot become a float4"},
        Fault{"color = leftImage;", "line 3: a sampler2D cannot become a float4"},
        Fault{"color.xyz = texCoord + color.xyz;", "line 3: '+' of a float2 and a float3"},
        Fault{"color = leftImage * 2;", "line 3: '*' needs two numbers"},
        Fault{"color = true + 1;", "line 3: '+' needs two numbers"},
        Fault{"color.x = x_base % 2;", "line 3: '%' needs two ints"},
        Fault{"bool b = color == color;", "line 3: '==' needs two scalars"},
        Fault{"bool b = color && true;", "line 3: '&&' needs two scalars"},
        Fault{"bool b = !color;", "line 3: '!' needs a scalar"},
        Fault{"float f = -true;", "line 3: '-' needs a number"},
        Fault{"color = true ? color : color;", "line 3: expected ';' before '?'"},
        Fault{"int i = 1 << 2;", "line 3: expected ';' before '<<'"},
        Fault{"int i = (int)x_base;", "line 3: casts in front of a value are not supported"},
        Fault{"float2 v = { 1, 2, 3 };", "line 3: a float2 needs values of 2 components together"},
        Fault{"float2 v = { 1 };", "line 3: a float2 needs values of 2 components together"},
        Fault{"float2 v = { leftImage, 1 };", "line 3: a sampler2D has no components"},
        Fault{"float2 v = {};", "line 3: expected a value before '}'"},
        Fault{"color = { 1, 2, 3, 4 };", "line 3: expected a value before '{'"},
        Fault{"color = float4(1, 2, 3);", "line 3: a float4 needs values of 4 components together"},
        Fault{"color = float4(color, 1);", "line 3: a float4 needs values of 4 components together"},
        Fault{"color = float4();", "line 3: a float4 needs values of 4 components together"},
        Fault{"color.x = float;", "line 3: expected '(' before ';'"},
        Fault{"color = float4x4(1);", "line 3: a float4x4 cannot be made of values"},
        Fault{"color = sampler2D(1);", "line 3: a sampler2D cannot be made of values"},
        Fault{"color = lerp(color, color, 1);", "line 3: the function 'lerp' is not supported"},
        Fault{"color = main(color);", "line 3: the function 'main' is not supported"},
        Fault{"color = tex2D(texCoord, leftImage);", "line 3: tex2D takes a sampler2D and a float2"},
        Fault{"color = tex2D(leftImage, color);", "line 3: tex2D takes a sampler2D and a float2"},
        Fault{"color = tex2D(leftImage);", "line 3: tex2D takes 2 arguments"},
        Fault{"color = saturate(color, 1);", "line 3: saturate takes 1 argument"},
        Fault{"color = saturate(1);", "line 3: saturate takes a float or a float vector"},
        Fault{"color.x = trunc(1);", "line 3: trunc takes a float or a float vector"},
        Fault{"color.x = dot(color, texCoord);", "line 3: dot takes two float vectors of one size"},
        Fault{"color = mul(color, color);",
              "line 3: mul takes a float4x4 and a float4, in any order, or two float4x4"},
        Fault{"color.x = 2147483648;", "line 3: the number 2147483648 is too large for an int"},
        Fault{"color.x = 1e39;", "line 3: the number 1e39 does not fit a float"},
        Fault{"color.x = 1e999;", "line 3: the number 1e999 does not fit a float"},
        Fault{"color.x = 010;", "line 3: octal numbers are not supported"},
        Fault{"color.x = 0x10;", "line 3: the number is followed by a letter"},
        Fault{"color.x = 1.0e;", "line 3: the exponent has no digits"},
        Fault{"color.x = 1.0g;", "line 3: the number is followed by a letter"},
        Fault{"color.x = 1.2.3;", "line 3: expected ';' before '.3'"},
        Fault{"color. = 1;", "line 3: expected components before '='"},
        Fault{"color = @;", "line 3: unexpected character '@'"},
        Fault{"color = \x01;", "line 3: unexpected character 0x01"},
        Fault{"color = \xC3\xA4;", "line 3: unexpected character 0xC3"},
        Fault{"#define A 1", "line 3: directives of a preprocessor are not supported"},
        Fault{"/* color = 1;", "line 3: the comment does not end"}));

struct ProgramFault {
  Stage stage;
  const char* source;
  const char* error;
};

TEST(CgTranslator, FaultsOfFunctionsAreTold) {
  constexpr Stage kF = Stage::kFragment;
  constexpr Stage kV = Stage::kVertex;
  for (const ProgramFault& fault : std::vector<ProgramFault>{
           {kF, "", "line 1: there is no function 'main'"},
           {kF, "float4 main() : COLOR {}", "line 1: functions return void"},
           {kF, "half4 main() {}", "line 1: the type 'half4' is not supported"},
           {kF, "struct A { float b; };", "line 1: 'struct' is not supported"},
           {kF, "float f;", "line 1: functions return void"},
           {kF, "void main", "line 1: expected '(' before the end"},
           {kF, "void main(", "line 1: expected a type before the end"},
           {kF, "void main() : COLOR {}", "line 1: functions return nothing that could have a semantic"},
           {kF, "void main();", "line 1: expected '{' before ';'"},
           {kF, "void main() {}", "line 1: a fragment program needs an output with the semantic COLOR"},
           {kF, "void main(void) {}", "line 1: a fragment program needs an output with the semantic COLOR"},
           {kV, "void main() {}", "line 1: a vertex program needs an output with the semantic POSITION"},
           {kF, "void main(float2 t) {}", "line 1: 't' needs a semantic"},
           {kF, "void main(out float4 c) {}", "line 1: 'c' needs a semantic"},
           {kF, "void main(float2 t : POSITION) {}", "line 1: there is no input 'POSITION'"},
           {kF, "void main(float2 t : TEXCOORD8) {}", "line 1: there is no input 'TEXCOORD8'"},
           {kF, "void main(float2 t : TEXCOORD10) {}", "line 1: there is no input 'TEXCOORD10'"},
           {kF, "void main(float4 t : COLOR1) {}", "line 1: there is no input 'COLOR1'"},
           {kF, "void main(float4 t : texcoord0) {}", "line 1: there is no input 'texcoord0'"},
           {kF, "void main(float2 t : 3) {}", "line 1: expected a semantic before '3'"},
           {kF, "void main(out float4 d : DEPTH) {}", "line 1: there is no output 'DEPTH'"},
           {kV, "void main(out float4 p : POSITION,\nout float4 q : POSITION) {}",
            "line 2: the output 'POSITION' is there twice"},
           {kF, "void main(int i : TEXCOORD0) {}", "line 1: an input is a float or a float vector"},
           {kF, "void main(out int i : COLOR) {}", "line 1: an output is a float or a float vector"},
           {kF, "void main(sampler2D s) {}", "line 1: an input is a float or a float vector"},
           {kF, "void main(uniform float4 f) {}", "line 1: a uniform float4 is not supported"},
           {kF, "void main(uniform int i) {}", "line 1: a uniform int is not supported"},
           {kF, "void main(uniform float4x4 m) {}",
            "line 1: a uniform float4x4 is not supported without the semantic state.matrix.mvp"},
           {kV, "void main(uniform float4x4 m : state.matrix.modelview) {}",
            "line 1: a uniform float4x4 cannot have the semantic 'state.matrix.modelview'"},
           {kV, "void main(uniform float4 m : state.matrix.mvp) {}",
            "line 1: a uniform float4 cannot have the semantic 'state.matrix.mvp'"},
           {kF, "void main(uniform sampler2D s : TEXUNIT0) {}",
            "line 1: a uniform sampler2D cannot have the semantic 'TEXUNIT0'"},
           {kF, "void main(uniform sampler3D s) {}", "line 1: the type 'sampler3D' is not supported"},
           {kF, "void main(uniform samplerCUBE s) {}", "line 1: the type 'samplerCUBE' is not supported"},
           {kF, "void main(inout float4 c : COLOR) {}", "line 1: 'inout' is not supported"},
           {kF, "void main(in out float4 c : COLOR) {}", "line 1: 'out' does not go with 'in' or 'uniform'"},
           {kF, "void main(uniform uniform float f) {}", "line 1: 'uniform' is there twice"},
           {kF, "void main(uniform float f = 1) {}", "line 1: default values are not supported"},
           {kF, "void main(uniform float f[2]) {}", "line 1: arrays are not supported"},
           {kF, "void main(uniform float f, uniform float f) {}", "line 1: 'f' is declared twice"},
           {kV, "void main(out float4 p : POSITION, uniform sampler2D s)\n{ p = tex2D(s, p.xy); }",
            "line 2: tex2D is for fragment programs"},
           {kF, "void main(out float4 c : COLOR) {} }", "line 1: expected a type before '}'"},
       }) {
    EXPECT_EQ(ErrorOf(fault.source, fault.stage), fault.error) << fault.source;
  }
}

TEST(CgTranslator, SamplersAreLimited) {
  std::string parameters = "out float4 c : COLOR";
  for (int i = 0; i < cg::kMostSamplers; ++i) parameters += ", uniform sampler2D s" + std::to_string(i);
  EXPECT_EQ(ErrorOf("void main(" + parameters + ") {}"), "");
  EXPECT_EQ(ErrorOf("void main(" + parameters + ", uniform sampler2D more) {}"),
            "line 1: there are too many samplers");
}

std::string Repeat(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

// Sources that would exhaust the stack or the memory of a careless reader.
TEST(CgTranslator, DepthIsLimited) {
  constexpr int kMany = 20000;
  for (const std::string& body :
       {"color = " + Repeat("(", kMany), "color = " + Repeat("- ", kMany) + "1;",
        "color = 1.0" + Repeat(" + 1.0", kMany) + ";", "color = " + Repeat("saturate(", kMany),
        "color = color" + Repeat(".xyzw", kMany) + ";", "float4 v = " + Repeat("{", kMany),
        "color = " + Repeat("1.0 * (1.0 + ", kMany)}) {
    EXPECT_THAT(ErrorOf(FragmentProgram(body)), HasSubstr("nested too deeply")) << body.substr(0, 30);
  }
  for (const std::string& body :
       {Repeat("{", kMany), Repeat("if (true) ", kMany), Repeat("if (true) color = 1; else ", kMany)}) {
    EXPECT_EQ(ErrorOf(FragmentProgram(body)), "line 3: the source is nested too deeply")
        << body.substr(0, 30);
  }
  EXPECT_EQ(ErrorOf(std::string(2 << 20, ' ')), "line 1: the source is too long");
  EXPECT_EQ(ErrorOf("void main(out float4 " + std::string(257, 'n') + " : COLOR) {}"),
            "line 1: the name is too long");
}

TEST(CgTranslator, WhatIsShallowEnoughIsTaken) {
  EXPECT_EQ(ErrorOf(FragmentProgram("color = " + Repeat("(", 40) + "1" + Repeat(")", 40) + ";")), "");
  EXPECT_EQ(ErrorOf(FragmentProgram("color = 1.0" + Repeat(" + 1.0", 90) + ";")), "");
  EXPECT_EQ(ErrorOf(FragmentProgram(Repeat("if (true) color = 1; else ", 40) + ";")), "");
}

// Every prefix of a program ends in an error or a translation, never worse.
TEST(CgTranslator, CutSourcesAreRefused) {
  const std::string source = FragmentProgram(
      "float3 cnvt = { 0.1, 1e-3, 2.5f }; /* c */ if (x_base > 1 && !(y_base == 2)) color.xyz *= cnvt; else "
      "return;");
  const std::string end = source.substr(0, source.rfind('}'));
  for (std::size_t length = 0; length <= end.size(); ++length) {
    EXPECT_NE(ErrorOf(source.substr(0, length)), "") << source.substr(0, length);
  }
  EXPECT_EQ(ErrorOf(source), "");
}

}  // namespace

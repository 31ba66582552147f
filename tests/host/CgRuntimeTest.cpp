// The Cg runtime without OpenGL: handles, errors, parameters.
#include <gtest/gtest.h>

#include <string>

#include "Cg/cg.h"
#include "Cg/cgGL.h"
#include "support/CgPrograms.h"

namespace {

class CgRuntime : public testing::Test {
 protected:
  CgRuntime() : mContext(cgCreateContext()) { cgGetError(); }
  ~CgRuntime() override {
    if (cgIsContext(mContext)) cgDestroyContext(mContext);
  }

  CGprogram Create(const std::string& source, CGprofile profile = CG_PROFILE_GLSLF) const {
    return cgCreateProgram(mContext, CG_SOURCE, source.c_str(), profile, "main", nullptr);
  }

  CGcontext mContext;
};

CGparameter Stale(CGcontext context) {
  CGprogram program = cgCreateProgram(context, CG_SOURCE, test::FragmentProgram("").c_str(), CG_PROFILE_GLSLF,
                                      "main", nullptr);
  CGparameter parameter = cgGetNamedParameter(program, "x_base");
  EXPECT_NE(parameter, nullptr);
  cgDestroyProgram(program);
  return parameter;
}

TEST_F(CgRuntime, ContextsComeAndGo) {
  EXPECT_TRUE(cgIsContext(mContext));
  CGcontext second = cgCreateContext();
  EXPECT_NE(second, mContext);
  cgDestroyContext(second);
  EXPECT_FALSE(cgIsContext(second));
  EXPECT_TRUE(cgIsContext(mContext));
  EXPECT_FALSE(cgIsContext(nullptr));
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  cgDestroyContext(second);
  EXPECT_EQ(cgGetError(), CG_INVALID_CONTEXT_HANDLE_ERROR);
}

TEST_F(CgRuntime, ProgramsGoWithTheirContext) {
  CGprogram first = Create(test::FragmentProgram("color = 1;"));
  CGprogram second = Create(test::kPassVertex, CG_PROFILE_GLSLV);
  ASSERT_TRUE(cgIsProgram(first));
  ASSERT_TRUE(cgIsProgram(second));
  CGparameter parameter = cgGetNamedParameter(first, "x_base");
  cgDestroyProgram(first);
  EXPECT_FALSE(cgIsProgram(first));
  EXPECT_FALSE(cgIsParameterReferenced(parameter));
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
  cgDestroyContext(mContext);
  EXPECT_FALSE(cgIsProgram(second));
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  cgDestroyProgram(second);
  EXPECT_EQ(cgGetError(), CG_INVALID_PROGRAM_HANDLE_ERROR);
}

TEST_F(CgRuntime, AnErrorStaysUntilItIsAskedFor) {
  EXPECT_FALSE(cgIsProgram(nullptr));
  EXPECT_EQ(cgGetError(), CG_NO_ERROR) << "asking is no error";
  cgDestroyProgram(nullptr);
  EXPECT_FALSE(cgIsProgram(nullptr));
  EXPECT_EQ(cgGetError(), CG_INVALID_PROGRAM_HANDLE_ERROR);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

TEST_F(CgRuntime, TheErrorTextComesWithTheError) {
  cgDestroyProgram(nullptr);
  CGerror error = CG_NO_ERROR;
  EXPECT_STREQ(cgGetLastErrorString(&error), "there is no such program");
  EXPECT_EQ(error, CG_INVALID_PROGRAM_HANDLE_ERROR);
  EXPECT_NE(cgGetLastErrorString(&error), nullptr);
  EXPECT_EQ(error, CG_NO_ERROR) << "it is cleared";
  EXPECT_STREQ(cgGetLastErrorString(nullptr), "there is no such program");
}

TEST_F(CgRuntime, CompileErrorsTellLineAndReason) {
  EXPECT_EQ(Create("void main(out float4 c : COLOR)\n{\n  c = lost;\n}"), nullptr);
  CGerror error = CG_NO_ERROR;
  EXPECT_STREQ(cgGetLastErrorString(&error), "line 3: 'lost' is not declared");
  EXPECT_EQ(error, CG_COMPILER_ERROR);
}

TEST_F(CgRuntime, ArgumentsOfCreationAreChecked) {
  const std::string source = test::FragmentProgram("color = 1;");
  const auto create = [&](CGcontext context, int type, const char* text, int profile, const char* entry,
                          const char** arguments) {
    CGprogram program = cgCreateProgram(context, static_cast<CGenum>(type), text,
                                        static_cast<CGprofile>(profile), entry, arguments);
    const CGerror error = cgGetError();
    EXPECT_EQ(program == nullptr, error != CG_NO_ERROR);
    return error;
  };
  const char* none[] = {nullptr};
  const char* some[] = {"-fastmath", nullptr};
  EXPECT_EQ(CG_SOURCE, 4112);
  EXPECT_EQ(create(mContext, 4112, source.c_str(), CG_PROFILE_GLSLF, "main", none), CG_NO_ERROR);
  EXPECT_EQ(create(nullptr, 4112, source.c_str(), CG_PROFILE_GLSLF, "main", none),
            CG_INVALID_CONTEXT_HANDLE_ERROR);
  EXPECT_EQ(create(mContext, 4113, source.c_str(), CG_PROFILE_GLSLF, "main", none),
            CG_INVALID_ENUMERANT_ERROR);
  EXPECT_EQ(create(mContext, 4112, nullptr, CG_PROFILE_GLSLF, "main", none), CG_INVALID_POINTER_ERROR);
  EXPECT_EQ(create(mContext, 4112, source.c_str(), CG_PROFILE_GLSLF, nullptr, none),
            CG_INVALID_POINTER_ERROR);
  EXPECT_EQ(create(mContext, 4112, source.c_str(), CG_PROFILE_UNKNOWN, "main", none),
            CG_UNKNOWN_PROFILE_ERROR);
  EXPECT_EQ(create(mContext, 4112, source.c_str(), 77, "main", none), CG_UNKNOWN_PROFILE_ERROR);
  EXPECT_EQ(create(mContext, 4112, source.c_str(), CG_PROFILE_GLSLF, "main", some), CG_COMPILER_ERROR);
  EXPECT_EQ(create(mContext, 4112, source.c_str(), CG_PROFILE_GLSLV, "main", none), CG_COMPILER_ERROR)
      << "a fragment program is no vertex program";
}

TEST_F(CgRuntime, ParametersExistThoughUnused) {
  CGprogram program = Create(test::FragmentProgram("color = tex2D(leftImage, texCoord) * y_base;"));
  for (const char* name : {"texCoord", "color", "y_base", "leftImage"}) {
    ASSERT_NE(cgGetNamedParameter(program, name), nullptr) << name;
    EXPECT_TRUE(cgIsParameterReferenced(cgGetNamedParameter(program, name))) << name;
  }
  for (const char* name : {"screenHeight", "screenWidth", "x_base", "rightImage"}) {
    ASSERT_NE(cgGetNamedParameter(program, name), nullptr) << name;
    EXPECT_FALSE(cgIsParameterReferenced(cgGetNamedParameter(program, name))) << name;
  }
  EXPECT_EQ(cgGetNamedParameter(program, "x_base"), cgGetNamedParameter(program, "x_base"));
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
}

TEST_F(CgRuntime, AnUnknownParameterIsNullWithoutAnError) {
  CGprogram program = Create(test::FragmentProgram("color = 1;"));
  EXPECT_EQ(cgGetNamedParameter(program, "X_BASE"), nullptr);
  EXPECT_EQ(cgGetNamedParameter(program, ""), nullptr);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  EXPECT_EQ(cgGetNamedParameter(program, nullptr), nullptr);
  EXPECT_EQ(cgGetError(), CG_INVALID_POINTER_ERROR);
  EXPECT_EQ(cgGetNamedParameter(nullptr, "x_base"), nullptr);
  EXPECT_EQ(cgGetError(), CG_INVALID_PROGRAM_HANDLE_ERROR);
  EXPECT_FALSE(cgIsParameterReferenced(nullptr));
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
}

TEST_F(CgRuntime, ProfilesAreKnownByKind) {
  EXPECT_EQ(cgGLGetLatestProfile(CG_GL_VERTEX), CG_PROFILE_GLSLV);
  EXPECT_EQ(cgGLGetLatestProfile(CG_GL_FRAGMENT), CG_PROFILE_GLSLF);
  cgGLSetOptimalOptions(CG_PROFILE_GLSLV);
  cgGLSetOptimalOptions(CG_PROFILE_GLSLF);
  EXPECT_EQ(cgGetError(), CG_NO_ERROR);
  EXPECT_EQ(cgGLGetLatestProfile(static_cast<CGGLenum>(10)), CG_PROFILE_UNKNOWN);
  EXPECT_EQ(cgGetError(), CG_INVALID_ENUMERANT_ERROR);
  cgGLSetOptimalOptions(CG_PROFILE_UNKNOWN);
  EXPECT_EQ(cgGetError(), CG_UNKNOWN_PROFILE_ERROR);
}

TEST_F(CgRuntime, BadHandlesAreErrorsAndNothingWorse) {
  CGparameter stale = Stale(mContext);
  for (CGparameter parameter : {CGparameter{nullptr}, stale}) {
    cgGLSetParameter1f(parameter, 1);
    EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
    cgGLSetTextureParameter(parameter, 1);
    EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
    cgGLEnableTextureParameter(parameter);
    EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
    cgGLDisableTextureParameter(parameter);
    EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
    EXPECT_EQ(cgGLGetTextureEnum(parameter), static_cast<GLenum>(GL_INVALID_OPERATION));
    EXPECT_EQ(cgGetError(), CG_INVALID_PARAM_HANDLE_ERROR);
  }
  cgGLLoadProgram(nullptr);
  EXPECT_EQ(cgGetError(), CG_INVALID_PROGRAM_HANDLE_ERROR);
  cgGLBindProgram(nullptr);
  EXPECT_EQ(cgGetError(), CG_INVALID_PROGRAM_HANDLE_ERROR);
}

TEST_F(CgRuntime, ParametersOfAnotherTypeAreRefused) {
  CGprogram program = Create(test::FragmentProgram("color = 1;"));
  cgGLSetParameter1f(cgGetNamedParameter(program, "leftImage"), 1);
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAMETER_ERROR);
  cgGLSetParameter1f(cgGetNamedParameter(program, "texCoord"), 1);
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAMETER_ERROR) << "an input is not set by the host";
  cgGLSetTextureParameter(cgGetNamedParameter(program, "x_base"), 1);
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAMETER_ERROR);
  cgGLEnableTextureParameter(cgGetNamedParameter(program, "x_base"));
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAMETER_ERROR);
  EXPECT_EQ(cgGLGetTextureEnum(cgGetNamedParameter(program, "x_base")),
            static_cast<GLenum>(GL_INVALID_OPERATION));
  EXPECT_EQ(cgGetError(), CG_INVALID_PARAMETER_ERROR);
}

TEST_F(CgRuntime, WithoutAContextOfOpenGLThereIsNoDrawing) {
  CGprogram program = Create(test::FragmentProgram("color = tex2D(leftImage, texCoord);"));
  CGparameter sampler = cgGetNamedParameter(program, "leftImage");
  cgGLSetTextureParameter(sampler, 3);
  cgGLSetParameter1f(cgGetNamedParameter(program, "x_base"), 1);
  EXPECT_EQ(cgGLGetTextureEnum(sampler), static_cast<GLenum>(GL_TEXTURE0));
  EXPECT_EQ(cgGetError(), CG_NO_ERROR) << "values need none";
  cgGLLoadProgram(program);
  CGerror error = CG_NO_ERROR;
  EXPECT_STREQ(cgGetLastErrorString(&error), "no compatibility context of OpenGL is current");
  EXPECT_EQ(error, CG_PROGRAM_LOAD_ERROR);
  cgGLBindProgram(program);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_BIND_ERROR);
  cgGLEnableProfile(CG_PROFILE_GLSLF);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_BIND_ERROR);
  cgGLDisableProfile(CG_PROFILE_GLSLF);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_BIND_ERROR);
  cgGLEnableTextureParameter(sampler);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_BIND_ERROR);
  cgGLDisableTextureParameter(sampler);
  EXPECT_EQ(cgGetError(), CG_PROGRAM_BIND_ERROR);
}

}  // namespace

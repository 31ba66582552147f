// Tests of rimage doctor: it must answer, and leave nothing behind, whatever display and driver it meets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/TestData.h"

namespace {

using Json = nlohmann::json;
using testing::HasSubstr;

struct Outcome {
  int code = -1;
  std::string output;
  std::string errors;
};

class DoctorTest : public testing::Test {
 protected:
  // Runs the tool with a clean environment and the given assignments in front.
  Outcome Run(const std::string& assignments, const std::string& arguments) const {
    const std::string out = mFolder.Path("out");
    const std::string err = mFolder.Path("err");
    const std::string command = "env -u DISPLAY -u QT_QPA_PLATFORM -u QT_XCB_GL_INTEGRATION " + assignments +
                                " timeout 60 " RIMAGE_TOOL " doctor " + arguments + " >" + out + " 2>" + err;
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Contents(out), Contents(err)};
  }

  static std::string Contents(const std::string& path) {
    const std::vector<unsigned char> bytes = test::ReadFile(path);
    return {bytes.begin(), bytes.end()};
  }

  // Puts a program called Xvfb in front of the real one.
  std::string WithServer(const std::string& script) const {
    const std::string path = mFolder.Path("Xvfb");
    std::ofstream(path) << "#!/bin/sh\n" << script << '\n';
    chmod(path.c_str(), 0755);
    return "PATH=" + mFolder.Path("") + ":$PATH ";
  }

  // The real server, which notes its process id and takes further arguments.
  std::string WithNotedServer(const std::string& arguments = "") const {
    return WithServer("echo $$ >" + mFolder.Path("pid") + "\nexec /usr/bin/Xvfb \"$@\" " + arguments);
  }

  // Whether the noted server has ended, or does within a second.
  bool ServerIsGone() const {
    const pid_t process = std::stoi(Contents(mFolder.Path("pid")));
    for (int i = 0; i < 100; ++i) {
      std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
      std::string number;
      std::string name;
      std::string state;
      if (!(stat >> number >> name >> state) || state == "Z") return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }

  test::TemporaryFolder mFolder;
};

TEST_F(DoctorTest, WithoutADisplayItStartsOneAndSaysSo) {
  const Outcome outcome = Run(WithNotedServer(), "");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.output, HasSubstr("(a private Xvfb)"));
  EXPECT_THAT(outcome.output, HasSubstr("Effects run  with OpenGL"));
  EXPECT_THAT(outcome.output, HasSubstr("GL_ATI_fragment_shader"));
  EXPECT_EQ(outcome.errors, "");
  EXPECT_TRUE(ServerIsGone());
}

TEST_F(DoctorTest, JsonTellsAll) {
  const Outcome outcome = Run("", "--json");
  ASSERT_EQ(outcome.code, 0);
  const Json json = Json::parse(outcome.output);
  EXPECT_EQ(json["effects"], "opengl");
  EXPECT_EQ(json["display"]["platform"], "xcb");
  EXPECT_EQ(json["display"]["private"], true);
  EXPECT_THAT(json["display"]["name"].get<std::string>(), testing::StartsWith(":"));
  const Json& gl = json["opengl"];
  EXPECT_EQ(gl["usable"], true);
  EXPECT_EQ(gl["profile"], "compatibility");
  EXPECT_EQ(gl["share_context"], true);
  EXPECT_FALSE(gl["version"].get<std::string>().empty());
  EXPECT_FALSE(gl["renderer"].get<std::string>().empty());
  EXPECT_EQ(gl["extensions"].size(), 10U);
  EXPECT_TRUE(gl["extensions"]["GL_NV_fragment_program"].is_boolean());
  EXPECT_GE(gl["limits"]["texture side"].get<int>(), 2048);
  EXPECT_THAT(json["qt"]["reads"], testing::Contains("png"));
  // All that Qt knows, whether the module writes it in another way or not at all.
  for (const char* format : {"bmp", "jpeg", "jpg", "png", "tif", "xpm"})
    EXPECT_THAT(json["qt"]["writes"], testing::Contains(format));
  EXPECT_TRUE(json["notes"].empty());
}

TEST_F(DoctorTest, ADisplayThatCannotBeReachedIsNotedAndReplaced) {
  for (const char* display : {":7777", "nowhere:1", "rubbish"}) {
    const Outcome outcome = Run(std::string("DISPLAY=") + display, "--json");
    ASSERT_EQ(outcome.code, 0) << display;
    const Json json = Json::parse(outcome.output);
    EXPECT_EQ(json["opengl"]["usable"], true);
    EXPECT_EQ(json["display"]["private"], true);
    ASSERT_EQ(json["notes"].size(), 1U);
    EXPECT_THAT(json["notes"][0].get<std::string>(), HasSubstr("could not connect to display")) << display;
  }
}

TEST_F(DoctorTest, TheDisplayOfTheEnvironmentIsUsedFirst) {
  const std::string out = mFolder.Path("out");
  const std::string command = RIMAGE_WITH_DISPLAY " " RIMAGE_TOOL " doctor --json >" + out;
  ASSERT_EQ(std::system(command.c_str()), 0);
  const Json json = Json::parse(Contents(out));
  EXPECT_EQ(json["display"]["private"], false);
  EXPECT_EQ(json["opengl"]["usable"], true);
}

TEST_F(DoctorTest, WithoutAServerTheProcessorWorks) {
  const Outcome outcome = Run(WithServer("exit 1"), "--json");
  EXPECT_EQ(outcome.code, 0);
  const Json json = Json::parse(outcome.output);
  EXPECT_EQ(json["effects"], "processor");
  EXPECT_EQ(json["opengl"]["usable"], false);
  EXPECT_THAT(json["opengl"]["reason"].get<std::string>(), HasSubstr("Xvfb is not installed"));
  EXPECT_TRUE(json["display"]["name"].is_null());
  EXPECT_TRUE(json["display"]["platform"].is_null());
}

TEST_F(DoctorTest, RequiringAGpuFailsWithItsOwnCode) {
  const Outcome outcome = Run(WithServer("exit 1"), "--gpu=require");
  EXPECT_EQ(outcome.code, 5);
  EXPECT_THAT(outcome.output, HasSubstr("on the processor"));
  EXPECT_THAT(outcome.errors, HasSubstr("rimage: doctor: no display with OpenGL"));
  EXPECT_EQ(Run("", "--gpu=require").code, 0);
}

TEST_F(DoctorTest, OffStartsNothing) {
  const Outcome outcome = Run(WithNotedServer(), "--gpu=never --json");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(Json::parse(outcome.output)["effects"], "processor");
  EXPECT_NE(access(mFolder.Path("pid").c_str(), F_OK), 0) << "a server was started";
}

TEST_F(DoctorTest, AnotherModeIsAUsageError) { EXPECT_EQ(Run("", "--gpu=perhaps").code, 2); }

TEST_F(DoctorTest, AServerWithoutGlxDoesWithEgl) {
  const Outcome outcome = Run(WithNotedServer("-extension GLX"), "--gpu=require");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_TRUE(ServerIsGone());
}

TEST_F(DoctorTest, AServerWithoutGlxOrEglIsRefused) {
  const Outcome outcome =
      Run(WithNotedServer("-extension GLX") + "__EGL_VENDOR_LIBRARY_DIRS=/nonexistent", "--gpu=require");
  EXPECT_EQ(outcome.code, 5);
  EXPECT_THAT(outcome.output, HasSubstr("no OpenGL context can be made"));
  EXPECT_TRUE(ServerIsGone());
}

struct DriverCase {
  const char* name;
  const char* environment;
};

class DoctorDriverTest : public DoctorTest, public testing::WithParamInterface<DriverCase> {};

TEST_P(DoctorDriverTest, ABrokenDriverIsRefusedWithoutHarm) {
  const Outcome outcome = Run(WithNotedServer() + GetParam().environment, "--gpu=require");
  EXPECT_EQ(outcome.code, 5) << outcome.errors;
  EXPECT_THAT(outcome.output, HasSubstr("on the processor"));
  EXPECT_TRUE(ServerIsGone());
}

INSTANTIATE_TEST_SUITE_P(
    All, DoctorDriverTest,
    testing::Values(DriverCase{"NoDriver", "LIBGL_DRIVERS_PATH=/nonexistent"},
                    DriverCase{"NoIntegration", "QT_XCB_GL_INTEGRATION=none"},
                    DriverCase{"OldVersion", "LIBGL_ALWAYS_INDIRECT=1"},
                    DriverCase{"Crash",
                               "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" RIMAGE_BROKEN_GL}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DoctorTest, OtherPlatformsAreTriedAsTheEnvironmentSays) {
  for (const char* platform : {"offscreen", "minimal", "nosuch"}) {
    const Outcome outcome = Run(std::string("QT_QPA_PLATFORM=") + platform, "--json");
    ASSERT_EQ(outcome.code, 0) << platform;
    const Json json = Json::parse(outcome.output);
    ASSERT_EQ(json["notes"].size(), 1U) << platform;
    EXPECT_THAT(json["notes"][0].get<std::string>(), HasSubstr(platform));
    EXPECT_EQ(json["display"]["platform"], "xcb");
  }
}

TEST_F(DoctorTest, AKilledToolTakesServerAndProbeAlong) {
  // The probe hangs in the driver, so that the tool can be killed while everything runs.
  const std::string command =
      "env -u DISPLAY -u QT_QPA_PLATFORM -u QT_XCB_GL_INTEGRATION " + WithNotedServer() +
      "BROKEN_GL=hang ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" RIMAGE_BROKEN_GL
      " timeout -s KILL 2 " RIMAGE_TOOL " doctor >" +
      mFolder.Path("out");
  EXPECT_NE(std::system(command.c_str()), 0);
  EXPECT_TRUE(ServerIsGone());
}

}  // namespace

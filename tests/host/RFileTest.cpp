#include "rbaselib/RFile.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/TestData.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Counting(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 31 + i / 251);
  return bytes;
}

Bytes ReadAll(RFile& file, std::size_t size) {
  Bytes bytes(size);
  bytes.resize(file.Read(bytes.data(), size));
  return bytes;
}

class RFileTest : public testing::Test {
 protected:
  test::TemporaryFolder mFolder;
  RFile mFile;
};

TEST_F(RFileTest, StartsClosed) {
  char byte = 'x';
  EXPECT_FALSE(mFile.IsOpen());
  EXPECT_EQ(mFile.Read(&byte, 1), 0U);
  EXPECT_EQ(mFile.Write(&byte, 1), 0U);
  EXPECT_FALSE(mFile.Seek(kSeekSet, 0));
  EXPECT_EQ(mFile.GetPosition(), -1);
  EXPECT_EQ(mFile.GetSize(), -1);
  EXPECT_TRUE(mFile.Close());
}

TEST_F(RFileTest, ReadsWhatIsThere) {
  const std::string path = mFolder.Write("a", {1, 2, 3, 4, 5});
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  EXPECT_TRUE(mFile.IsOpen());
  EXPECT_EQ(mFile.GetSize(), 5);
  EXPECT_EQ(ReadAll(mFile, 2), (Bytes{1, 2}));
  EXPECT_EQ(mFile.GetPosition(), 2);
  EXPECT_EQ(mFile.GetSize(), 5);
  EXPECT_EQ(mFile.GetPosition(), 2) << "asking for the size moves nothing";
  EXPECT_EQ(ReadAll(mFile, 10), (Bytes{3, 4, 5})) << "the end of the file shortens a read";
  EXPECT_EQ(ReadAll(mFile, 10), Bytes());
  EXPECT_TRUE(mFile.Close());
  EXPECT_FALSE(mFile.IsOpen());
}

TEST_F(RFileTest, SeeksFromThreeOrigins) {
  const std::string path = mFolder.Write("a", Counting(100));
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  EXPECT_TRUE(mFile.Seek(kSeekSet, 10));
  EXPECT_EQ(ReadAll(mFile, 1), Bytes(1, Counting(100)[10]));
  EXPECT_TRUE(mFile.Seek(kSeekCurrent, 5));
  EXPECT_EQ(mFile.GetPosition(), 16);
  EXPECT_EQ(ReadAll(mFile, 1), Bytes(1, Counting(100)[16]));
  EXPECT_TRUE(mFile.Seek(kSeekCurrent, -17));
  EXPECT_EQ(mFile.GetPosition(), 0);
  EXPECT_TRUE(mFile.Seek(kSeekEnd, -1));
  EXPECT_EQ(ReadAll(mFile, 5), Bytes(1, Counting(100)[99]));
  EXPECT_TRUE(mFile.Seek(kSeekEnd, 0));
  EXPECT_EQ(mFile.GetPosition(), 100);
}

TEST_F(RFileTest, ARefusedSeekMovesNothing) {
  const std::string path = mFolder.Write("a", Counting(100));
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  ReadAll(mFile, 7);
  EXPECT_FALSE(mFile.Seek(kSeekSet, -1));
  EXPECT_FALSE(mFile.Seek(kSeekCurrent, -8));
  EXPECT_FALSE(mFile.Seek(kSeekEnd, -101));
  EXPECT_FALSE(mFile.Seek(kSeekCurrent, std::numeric_limits<std::int64_t>::min()));
  EXPECT_FALSE(mFile.Seek(static_cast<kSeekPos>(3), 0));
  EXPECT_FALSE(mFile.Seek(static_cast<kSeekPos>(-1), 0));
  EXPECT_EQ(mFile.GetPosition(), 7);
  EXPECT_EQ(ReadAll(mFile, 1), Bytes(1, Counting(100)[7]));
}

TEST_F(RFileTest, SeeksBeyondTheEnd) {
  const std::string path = mFolder.Write("a", Counting(10));
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  EXPECT_TRUE(mFile.Seek(kSeekSet, 1000));
  EXPECT_EQ(mFile.GetPosition(), 1000);
  EXPECT_EQ(ReadAll(mFile, 1), Bytes());
}

TEST_F(RFileTest, PositionsAndSizesHave64Bits) {
  constexpr std::int64_t kFar = (std::int64_t{5} << 30) + 3;  // a hole, so that the disk holds one block
  const std::string path = mFolder.Path("sparse");
  ASSERT_TRUE(mFile.Open(path.c_str(), "wb"));
  ASSERT_TRUE(mFile.Seek(kSeekSet, kFar));
  EXPECT_EQ(mFile.Write("end", 3), 3U);
  EXPECT_EQ(mFile.GetPosition(), kFar + 3);
  EXPECT_EQ(mFile.GetSize(), kFar + 3);
  ASSERT_TRUE(mFile.Close());
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  EXPECT_EQ(mFile.GetSize(), kFar + 3);
  ASSERT_TRUE(mFile.Seek(kSeekEnd, -3));
  EXPECT_EQ(mFile.GetPosition(), kFar);
  EXPECT_EQ(ReadAll(mFile, 9), (Bytes{'e', 'n', 'd'}));
}

TEST_F(RFileTest, WritesWhatIsGiven) {
  const std::string path = mFolder.Path("written");
  ASSERT_TRUE(mFile.Open(path.c_str(), "wb"));
  EXPECT_EQ(mFile.Write("abc", 3), 3U);
  EXPECT_EQ(mFile.GetPosition(), 3);
  EXPECT_EQ(mFile.GetSize(), 3);
  EXPECT_TRUE(mFile.Seek(kSeekSet, 1));
  EXPECT_EQ(mFile.Write("X", 1), 1U);
  EXPECT_TRUE(mFile.Close());
  EXPECT_EQ(test::ReadFile(path), (Bytes{'a', 'X', 'c'}));
}

TEST_F(RFileTest, TheDestructorCloses) {
  const std::string path = mFolder.Path("written");
  {
    RFile file;
    ASSERT_TRUE(file.Open(path.c_str(), "wb"));
    file.Write("abc", 3);
  }
  EXPECT_EQ(test::ReadFile(path), (Bytes{'a', 'b', 'c'}));
}

TEST_F(RFileTest, OpeningAnotherFileClosesTheFirst) {
  const std::string first = mFolder.Path("first");
  const std::string second = mFolder.Write("second", {7});
  ASSERT_TRUE(mFile.Open(first.c_str(), "wb"));
  mFile.Write("abc", 3);
  ASSERT_TRUE(mFile.Open(second.c_str(), "rb"));
  EXPECT_EQ(test::ReadFile(first), (Bytes{'a', 'b', 'c'}));
  EXPECT_EQ(mFile.GetPosition(), 0);
  EXPECT_EQ(ReadAll(mFile, 9), Bytes{7});
  EXPECT_FALSE(mFile.Open(mFolder.Path("missing").c_str(), "rb"));
  EXPECT_FALSE(mFile.IsOpen()) << "a failed opening leaves nothing open";
}

// --- Modes.

TEST_F(RFileTest, WbTruncates) {
  const std::string path = mFolder.Write("a", Counting(100));
  ASSERT_TRUE(mFile.Open(path.c_str(), "wb"));
  EXPECT_EQ(mFile.GetSize(), 0);
  char byte = 0;
  EXPECT_EQ(mFile.Read(&byte, 1), 0U) << "it is not open for reading";
}

TEST_F(RFileTest, RbDoesNotWrite) {
  const std::string path = mFolder.Write("a", {1, 2});
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  EXPECT_EQ(mFile.Write("x", 1), 0U);
  EXPECT_TRUE(mFile.Close());
  EXPECT_EQ(test::ReadFile(path), (Bytes{1, 2}));
}

TEST_F(RFileTest, AbAppends) {
  const std::string path = mFolder.Write("a", {1, 2});
  ASSERT_TRUE(mFile.Open(path.c_str(), "ab"));
  EXPECT_EQ(mFile.GetPosition(), 2);
  EXPECT_EQ(mFile.Write("x", 1), 1U);
  EXPECT_TRUE(mFile.Seek(kSeekSet, 0));
  EXPECT_EQ(mFile.Write("y", 1), 1U);
  EXPECT_TRUE(mFile.Close());
  EXPECT_EQ(test::ReadFile(path), (Bytes{1, 2, 'x', 'y'})) << "appending goes to the end from everywhere";
  ASSERT_TRUE(mFile.Open(mFolder.Path("new").c_str(), "ab"));
  EXPECT_EQ(mFile.GetPosition(), 0);
}

TEST_F(RFileTest, UpdateModesReadAndWriteInTurn) {
  const std::string path = mFolder.Write("a", {1, 2, 3, 4, 5, 6});
  ASSERT_TRUE(mFile.Open(path.c_str(), "r+b"));
  EXPECT_EQ(ReadAll(mFile, 2), (Bytes{1, 2}));
  EXPECT_EQ(mFile.Write("x", 1), 1U);
  EXPECT_EQ(mFile.GetPosition(), 3);
  EXPECT_EQ(ReadAll(mFile, 1), Bytes{4}) << "reading goes on behind what was written";
  EXPECT_EQ(mFile.Write("y", 1), 1U);
  EXPECT_TRUE(mFile.Close());
  EXPECT_EQ(test::ReadFile(path), (Bytes{1, 2, 'x', 4, 'y', 6}));
}

TEST_F(RFileTest, WPlusAndAPlusRead) {
  const std::string path = mFolder.Path("a");
  ASSERT_TRUE(mFile.Open(path.c_str(), "w+b"));
  mFile.Write("abc", 3);
  ASSERT_TRUE(mFile.Seek(kSeekSet, 1));
  EXPECT_EQ(ReadAll(mFile, 9), (Bytes{'b', 'c'}));
  ASSERT_TRUE(mFile.Open(path.c_str(), "a+b"));
  EXPECT_EQ(ReadAll(mFile, 1), Bytes{'a'}) << "reading starts at the first byte";
  mFile.Write("d", 1);
  EXPECT_TRUE(mFile.Close());
  EXPECT_EQ(test::ReadFile(path), (Bytes{'a', 'b', 'c', 'd'}));
}

TEST_F(RFileTest, RefusesOtherModesAndNulls) {
  const std::string path = mFolder.Write("a", {1});
  for (const char* mode : {static_cast<const char*>(nullptr), "", "x", "br", "rw", "r++", "rb,ccs=UTF-8"}) {
    EXPECT_FALSE(mFile.Open(path.c_str(), mode));
    EXPECT_EQ(WideCharFileOpen(path.c_str(), mode), nullptr);
  }
  EXPECT_FALSE(mFile.Open(nullptr, "rb"));
  EXPECT_FALSE(mFile.Open("", "rb"));
  EXPECT_TRUE(mFile.Open(path.c_str(), "r"));
  EXPECT_TRUE(mFile.Open(path.c_str(), "rb+"));
  EXPECT_EQ(mFile.Read(nullptr, 1), 0U);
  EXPECT_EQ(mFile.Write(nullptr, 1), 0U);
}

TEST_F(RFileTest, RefusesFolders) {
  const std::string folder = mFolder.Path("");
  for (const char* mode : {"rb", "r+b", "wb", "ab"}) EXPECT_FALSE(mFile.Open(folder.c_str(), mode)) << mode;
  EXPECT_EQ(WideCharFileOpen(folder.c_str(), "rb"), nullptr);
  EXPECT_EQ(WideCharFileOpen(nullptr, "rb"), nullptr);
}

TEST_F(RFileTest, PathsAreUtf8) {
  const std::string path = mFolder.Path("\xC3\xA4 \xE2\x82\xAC.tif");
  ASSERT_TRUE(mFile.Open(path.c_str(), "wb"));
  mFile.Close();
  EXPECT_TRUE(std::filesystem::exists(
      std::filesystem::path(std::u8string(u8"") + reinterpret_cast<const char8_t*>(path.c_str()))));
  EXPECT_TRUE(RFile::Remove(path.c_str()));
}

// --- Buffering. The sizes stand around those of the buffer.

class RFileSizeTest : public RFileTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(RFileSizeTest, ReadsInPieces) {
  const Bytes bytes = Counting(100000);
  const std::string path = mFolder.Write("a", bytes);
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  Bytes read;
  while (true) {
    const Bytes piece = ReadAll(mFile, GetParam());
    if (piece.empty()) break;
    read.insert(read.end(), piece.begin(), piece.end());
    ASSERT_EQ(mFile.GetPosition(), static_cast<std::int64_t>(read.size()));
  }
  EXPECT_TRUE(read == bytes);
}

TEST_P(RFileSizeTest, WritesInPieces) {
  const Bytes bytes = Counting(100000);
  const std::string path = mFolder.Path("a");
  ASSERT_TRUE(mFile.Open(path.c_str(), "wb"));
  for (std::size_t done = 0; done < bytes.size();) {
    const std::size_t count = std::min(GetParam(), bytes.size() - done);
    ASSERT_EQ(mFile.Write(bytes.data() + done, count), count);
    done += count;
    ASSERT_EQ(mFile.GetPosition(), static_cast<std::int64_t>(done));
  }
  EXPECT_TRUE(mFile.Close());
  EXPECT_TRUE(test::ReadFile(path) == bytes);
}

INSTANTIATE_TEST_SUITE_P(Sizes, RFileSizeTest,
                         testing::Values(1, 3, 1000, 16383, 16384, 16385, 40000, 100000, 200000));

// Reads, writes and seeks at random, beside a plain array of bytes.
TEST_F(RFileTest, BehavesLikeAnArrayOfBytes) {
  Bytes model = Counting(50000);
  const std::string path = mFolder.Write("a", model);
  ASSERT_TRUE(mFile.Open(path.c_str(), "r+b"));
  std::mt19937 random(1);
  std::size_t position = 0;
  for (int step = 0; step < 3000; ++step) {
    const std::size_t size = random() % (step % 7 ? 100 : 40000);
    switch (random() % 3) {
      case 0: {
        const std::size_t there = position < model.size() ? std::min(size, model.size() - position) : 0;
        const auto begin = model.begin() + static_cast<std::ptrdiff_t>(std::min(position, model.size()));
        ASSERT_TRUE(ReadAll(mFile, size) == Bytes(begin, begin + static_cast<std::ptrdiff_t>(there)));
        position += there;
        break;
      }
      case 1: {
        const Bytes written(size, static_cast<unsigned char>(step));
        ASSERT_EQ(mFile.Write(written.data(), size), size);
        if (size) model.resize(std::max(model.size(), position + size));
        std::copy(written.begin(), written.end(), model.begin() + static_cast<std::ptrdiff_t>(position));
        position += size;
        break;
      }
      default:
        position = random() % (model.size() + 1);
        ASSERT_TRUE(mFile.Seek(kSeekSet, static_cast<std::int64_t>(position)));
    }
    ASSERT_EQ(mFile.GetPosition(), static_cast<std::int64_t>(position));
  }
  ASSERT_EQ(mFile.GetSize(), static_cast<std::int64_t>(model.size()));
  EXPECT_TRUE(mFile.Close());
  EXPECT_TRUE(test::ReadFile(path) == model);
}

// --- Failures of the system.

TEST_F(RFileTest, AFullDiskIsReported) {
  if (access("/dev/full", W_OK) != 0) GTEST_FAIL() << "/dev/full is not there";
  ASSERT_TRUE(mFile.Open("/dev/full", "wb"));
  EXPECT_EQ(mFile.Write("abc", 3), 3U) << "small writes are taken";
  EXPECT_FALSE(mFile.Seek(kSeekSet, 0)) << "and fail at the disk";
  EXPECT_EQ(mFile.Write("abc", 3), 0U);
  EXPECT_FALSE(mFile.Close());
  EXPECT_TRUE(mFile.Close()) << "nothing is open any more";
}

TEST_F(RFileTest, AFullDiskIsReportedByClose) {
  ASSERT_TRUE(mFile.Open("/dev/full", "wb"));
  mFile.Write("abc", 3);
  EXPECT_FALSE(mFile.Close());
}

TEST_F(RFileTest, AFullDiskStopsALargeWrite) {
  const Bytes bytes(100000);
  ASSERT_TRUE(mFile.Open("/dev/full", "wb"));
  EXPECT_EQ(mFile.Write(bytes.data(), bytes.size()), 0U);
  EXPECT_FALSE(mFile.Close());
  ASSERT_TRUE(mFile.Open(mFolder.Path("a").c_str(), "wb")) << "another file starts without the failure";
  EXPECT_EQ(mFile.Write("abc", 3), 3U);
  EXPECT_TRUE(mFile.Close());
}

TEST_F(RFileTest, DevicesWithoutSizeHaveNone) {
  ASSERT_TRUE(mFile.Open("/dev/zero", "rb"));
  EXPECT_EQ(ReadAll(mFile, 50000), Bytes(50000));
  EXPECT_EQ(mFile.GetSize(), 0);
}

// Signals that interrupt system calls, as a profiler's or a debugger's do.
class InterruptedRFileTest : public RFileTest {
 protected:
  void SetUp() override {
    struct sigaction action {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    sigaction(SIGUSR1, &action, &mBefore);
    mPath = mFolder.Path("pipe");
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
  }
  void TearDown() override { sigaction(SIGUSR1, &mBefore, nullptr); }

  // Sends signals to the calling thread from another one, until the returned object goes.
  class Pest {
   public:
    Pest()
        : mThread([this, target = pthread_self()] {
            while (!mStop) {
              pthread_kill(target, SIGUSR1);
              std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
          }) {}
    Pest(const Pest&) = delete;
    Pest& operator=(const Pest&) = delete;
    ~Pest() {
      mStop = true;
      mThread.join();
    }

   private:
    std::atomic<bool> mStop = false;
    std::thread mThread;
  };
  struct sigaction mBefore {};
  std::string mPath;
};

// The other end of the pipe is slow and hands over small pieces, so that calls are both interrupted and
// short.
TEST_F(InterruptedRFileTest, AReadIsCompleted) {
  const Bytes bytes = Counting(60000);
  std::thread writer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    RFile file;
    ASSERT_TRUE(file.Open(mPath.c_str(), "wb"));
    for (std::size_t done = 0; done < bytes.size(); done += 6000) {
      ASSERT_EQ(file.Write(bytes.data() + done, 6000), 6000U);
      ASSERT_EQ(file.GetSize(), -1) << "a pipe has no size, and asking sends what is buffered";
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(file.Close());
  });
  {
    const Pest pest;
    ASSERT_TRUE(mFile.Open(mPath.c_str(), "rb"));
    EXPECT_TRUE(ReadAll(mFile, 10) == Bytes(bytes.begin(), bytes.begin() + 10));
    EXPECT_TRUE(ReadAll(mFile, 70000) == Bytes(bytes.begin() + 10, bytes.end()));
    EXPECT_EQ(mFile.GetPosition(), -1);
    EXPECT_FALSE(mFile.Seek(kSeekSet, 0));
  }
  writer.join();
}

TEST_F(InterruptedRFileTest, AWriteIsCompleted) {
  const Bytes bytes = Counting(300000);  // more than a pipe holds
  Bytes received;
  std::thread reader([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    RFile file;
    ASSERT_TRUE(file.Open(mPath.c_str(), "rb"));
    while (true) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      const Bytes piece = ReadAll(file, 20000);
      if (piece.empty()) break;
      received.insert(received.end(), piece.begin(), piece.end());
    }
  });
  {
    const Pest pest;
    ASSERT_TRUE(mFile.Open(mPath.c_str(), "wb"));
    EXPECT_EQ(mFile.Write(bytes.data(), 5), 5U);
    EXPECT_EQ(mFile.Write(bytes.data() + 5, bytes.size() - 5), bytes.size() - 5);
    EXPECT_TRUE(mFile.Close());
  }
  reader.join();
  EXPECT_TRUE(received == bytes);
}

// --- Files without an object.

TEST_F(RFileTest, RemoveDeletesFilesOnly) {
  const std::string path = mFolder.Write("a", {1});
  EXPECT_TRUE(RFile::Remove(path.c_str()));
  EXPECT_FALSE(RFile::Remove(path.c_str()));
  EXPECT_FALSE(RFile::Remove(mFolder.Path("").c_str()));
  EXPECT_FALSE(RFile::Remove(nullptr));
  EXPECT_FALSE(RFile::Remove(""));
}

TEST_F(RFileTest, WideCharFileOpenGivesACStream) {
  const std::string path = mFolder.Path("\xC3\xA4");
  std::FILE* file = WideCharFileOpen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fputs("abc", file);
  std::fclose(file);
  file = WideCharFileOpen(path.c_str(), "rb");
  ASSERT_NE(file, nullptr);
  char text[4] = {};
  EXPECT_EQ(std::fread(text, 1, 4, file), 3U);
  EXPECT_STREQ(text, "abc");
  std::fclose(file);
  EXPECT_EQ(WideCharFileOpen(mFolder.Path("missing").c_str(), "rb"), nullptr);
}

TEST_F(RFileTest, ProgramsThatAreStartedDoNotInheritFiles) {
  const std::string path = mFolder.Write("inherited-by-mistake", {1});
  ASSERT_TRUE(mFile.Open(path.c_str(), "rb"));
  std::FILE* file = WideCharFileOpen(path.c_str(), "rb");
  EXPECT_NE(std::system("ls -l /proc/self/fd | grep -q inherited-by-mistake"), 0);
  std::fclose(file);
}

}  // namespace

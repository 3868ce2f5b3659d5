#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <future>
#include <optional>
#include <tuple>

#include "der/BufferContents.h"
#include "support/File.h"
#include "support/FileLockHolder.h"
#include "support/TempFolder.h"

namespace keystrand::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

// Runs a step in a process of its own and gives its exit code.
int inAnotherProcess(const std::function<int()>& step) {
  const pid_t child = fork();
  if (child == 0) _exit(step());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class BufferFile : public ::testing::Test {
 protected:
  [[nodiscard]] std::string path(const char* name = "file") const { return folder_ / name; }
  TempFolder folder_;
};

using Step = bool (Buffer::*)(const char*);
constexpr std::pair<const char*, Step> kSaving[] = {{"saveFile", &Buffer::saveFile},
                                                    {"saveFileLocked", &Buffer::saveFileLocked}};
constexpr std::pair<const char*, Step> kLoading[] = {{"loadFile", &Buffer::loadFile},
                                                     {"loadFileLocked", &Buffer::loadFileLocked}};

TEST_F(BufferFile, WhatIsSavedIsLoadedAlsoInPlaceOfMore) {
  const ByteString longer(100000, 0x30);
  const ByteString shorter = hex("3003020107");
  for (const auto& [saveName, save] : kSaving)
    for (const auto& [loadName, load] : kLoading) {
      Buffer buffer;
      for (const ByteString& bytes : {longer, shorter, ByteString()}) {
        Holding out(bytes);
        EXPECT_TRUE((out.*save)(path().c_str())) << saveName;
        EXPECT_EQ(readFile(path()), bytes) << saveName;
        buffer.setReadPosition(3);
        EXPECT_TRUE((buffer.*load)(path().c_str())) << loadName;
        EXPECT_EQ(held(buffer), bytes) << loadName;
        EXPECT_EQ(buffer.readPosition(), 0U);
        buffer.setReadPosition(buffer.size());
        EXPECT_EQ(buffer.peekByte(), 1) << "nothing of the longer file is left behind the shorter one";
      }
    }
}

TEST_F(BufferFile, FilesOfTheLockedFormAreTheOwners) {
  const mode_t before = umask(022);
  EXPECT_TRUE(Holding("01").saveFileLocked(path("private").c_str()));
  EXPECT_TRUE(Holding("01").saveFile(path("plain").c_str()));
  umask(before);
  EXPECT_EQ(fs::status(path("private")).permissions(), fs::perms(0600));
  EXPECT_EQ(fs::status(path("plain")).permissions(), fs::perms(0644));
}

TEST_F(BufferFile, OnlyRegularFilesAreOpened) {
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  const std::optional<std::string> names[] = {
      {}, folder_.path().string(), path("fifo"), path("no/such/file"), "/dev/zero", ""};
  for (const auto& given : names) {
    const char* name = given ? given->c_str() : nullptr;
    Holding buffer("0A0B");
    for (const auto& [stepName, step] : {kSaving[0], kSaving[1], kLoading[0], kLoading[1]})
      EXPECT_FALSE((buffer.*step)(name)) << stepName << given.value_or(" null");
    EXPECT_FALSE(buffer.savePEM(name, "X") || buffer.loadPEM(name) || buffer.loadPEMStream(name));
    EXPECT_EQ(held(buffer), hex("0A0B")) << "a file that cannot be opened changes nothing";
  }
}

TEST_F(BufferFile, TooLargeFilesAreRefusedUnread) {
  writeFile(path(), hex("30"));
  ASSERT_EQ(truncate(path().c_str(), 0xFFFFFFE1), 0);  // a hole: it takes no room
  Buffer buffer;
  EXPECT_FALSE(buffer.loadFile(path().c_str()) || buffer.loadFileLocked(path().c_str()));
  EXPECT_FALSE(buffer.loadPEM(path().c_str()) || buffer.loadPEMStream(path().c_str()));
  EXPECT_EQ(buffer.limit(), 0U);
}

TEST_F(BufferFile, FullDiskIsTold) {
  for (const auto& [name, save] : kSaving)
    EXPECT_EQ(inAnotherProcess([&, step = save] {
                std::signal(SIGXFSZ, SIG_IGN);
                const rlimit limit{1000, 1000};
                setrlimit(RLIMIT_FSIZE, &limit);
                Holding buffer(ByteString(2000, 1));
                if (!buffer.savePEM(path().c_str(), "X")) return 2;  // tells only whether the file could be opened
                return (buffer.*step)(path().c_str()) ? 1 : 0;
              }),
              0)
        << name;
}

// A byte is read twice where the position is not at the start: whoever read the first byte to tell the format counts
// on it.
TEST_F(BufferFile, AppendingStepsBackOneByte) {
  writeFile(path(), hex("0102030405"));
  const int file = open(path().c_str(), O_RDONLY | O_CLOEXEC);
  using Row = std::tuple<off_t, std::uint32_t, bool, const char*>;
  for (const auto& [position, n, ok, after] :
       {Row{1, 5, true, "AA0102030405"}, Row{3, 2, true, "AA0304"}, Row{0, 2, true, "AA0102"}, Row{3, 6, false, "AA"},
        Row{4, 5, false, "AA0405"}, Row{0, 0xFFFFFFFF, false, "AA"}}) {
    Holding in("AA");
    lseek(file, position, SEEK_SET);
    EXPECT_EQ(in.appendFrom(file, n), ok) << position << ", " << n;
    EXPECT_EQ(held(in), hex(after)) << position << ", " << n;
  }
  close(file);
}

// --- the lock on the first byte ----------------------------------------------------------------------------

// Before it cuts the file, where it saves.
TEST_F(BufferFile, WaitsForAnotherContextOfThisProcess) {
  for (const auto& [name, step] : {kSaving[1], kLoading[1]}) {
    writeFile(path(), hex("AAAAAA"));
    Holding buffer("CC");
    std::future<bool> done;
    {
      const FileLockHolder holder(path(), F_OFD_SETLK);
      done = std::async(std::launch::async, [&, step = step] { return (buffer.*step)(path().c_str()); });
      EXPECT_EQ(done.wait_for(milliseconds(50)), std::future_status::timeout) << name;
      EXPECT_EQ(readFile(path()), hex("AAAAAA")) << name;
      holder.rewrite(hex("BBBB"));
    }
    EXPECT_TRUE(done.get()) << name;
    EXPECT_EQ(held(buffer), hex(step == &Buffer::saveFileLocked ? "CC" : "BBBB")) << name;
    EXPECT_EQ(readFile(path()), held(buffer)) << name;
  }
}

// A process that uses the classic locks of POSIX is kept out, and keeps us out.
TEST_F(BufferFile, ExcludesAProcessWithClassicLocks) {
  writeFile(path(), hex("AAAA"));
  {
    const File file = File::openForLockedReading(path().c_str());
    const FirstByteLock lock(file);
    ASSERT_TRUE(lock.held());
    EXPECT_EQ(inAnotherProcess([&] {
                const int other = open(path().c_str(), O_RDWR);
                struct flock wanted = FileLockHolder::firstByte();
                return fcntl(other, F_SETLK, &wanted) == -1 && (errno == EAGAIN || errno == EACCES) ? 0 : 1;
              }),
              0);
  }
  int told[2];
  int go[2];
  ASSERT_EQ(pipe(told) + pipe(go), 0);
  const pid_t child = fork();
  if (child == 0) {
    char byte = 0;
    const FileLockHolder holder(path(), F_SETLK);
    if (write(told[1], &byte, 1) != 1 || read(go[0], &byte, 1) != 1) _exit(1);
    holder.rewrite(hex("CCCC"));
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(told[0], &byte, 1), 1);
  Buffer buffer;
  auto loading = std::async(std::launch::async, [&] { return buffer.loadFileLocked(path().c_str()); });
  EXPECT_EQ(loading.wait_for(milliseconds(50)), std::future_status::timeout);
  ASSERT_EQ(write(go[1], &byte, 1), 1);
  EXPECT_TRUE(loading.get());
  EXPECT_EQ(held(buffer), hex("CCCC"));
  for (const int end : {told[0], told[1], go[0], go[1]}) close(end);
  waitpid(child, nullptr, 0);
}

TEST_F(BufferFile, LockIsGoneWithItsOwnerThoughAChildHasTheDescriptor) {
  writeFile(path(), hex("AAAA"));
  File file = File::openForLockedReading(path().c_str());
  int end[2];
  ASSERT_EQ(pipe(end), 0);
  pid_t child = -1;
  {
    const FirstByteLock lock(file);
    child = fork();
    if (child == 0) {  // keeps the open file until the other end of the pipe closes
      close(end[1]);
      char byte = 0;
      _exit(read(end[0], &byte, 1) == 0 ? 0 : 1);
    }
  }
  EXPECT_TRUE(Holding("BB").saveFileLocked(path().c_str()));
  close(end[1]);
  close(end[0]);
  waitpid(child, nullptr, 0);
}

// A file that may not be written is still loaded under a lock, one that keeps writers out.
TEST_F(BufferFile, ReadOnlyFilesAreLockedForReading) {
  writeFile(path(), hex("AAAA"));
  fs::permissions(path(), fs::perms(0444));
  fs::permissions(folder_.path(), fs::perms(0711));
  EXPECT_EQ(inAnotherProcess([&] {
              if (geteuid() == 0 && seteuid(65534) != 0) return 3;
              Buffer buffer;
              if (Holding("BB").saveFileLocked(path().c_str())) return 1;
              return buffer.loadFileLocked(path().c_str()) && held(buffer) == hex("AAAA") ? 0 : 2;
            }),
            0);
}

}  // namespace
}  // namespace keystrand::test

// Output files appear whole or not at all, whatever goes wrong on the way.
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "app/picture.h"

namespace {

using test::Qel;

/// A folder with a picture to read, and an older picture in the place to write to.
struct Place {
  test::Scratch scratch;
  std::string in = scratch / "in.bmp", folder = scratch / "place", out = scratch / "place/out.bmp";
  std::string before, after;

  Place() {
    test::SaveRandom(in, 1, 200, 100);
    std::filesystem::create_directory(folder);
    test::SaveRandom(out, 3, 20, 10);
    before = test::ReadFile(out), after = test::ReadFile(in);
  }

  std::vector<std::string> Names() const { return scratch.List("place"); }

  /// The older picture is untouched, with nothing beside it, and the command said so.
  void ExpectRefused(const test::Outcome &outcome, const std::string &reason) const {
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "qel: " + out + ": " + reason + "\n");
    EXPECT_TRUE(test::ReadFile(out) == before);
    EXPECT_EQ(Names(), std::vector<std::string>{"out.bmp"});
  }
};

/// Permissions bind the child as they bind any user, also when the tests run as root.
void ObeyPermissions() {
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
}

/// False when this process can neither be refused a file nor give up the right to open all of them.
bool PermissionsBind() {
  const test::Scratch scratch;
  test::WriteFile(scratch / "secret", "");
  chmod((scratch / "secret").c_str(), 0);
  return test::Run({"/bin/cat", scratch / "secret"}, ObeyPermissions).status != 0;
}

TEST(Output, ReplacesAnOlderFileAndItsInput) {
  const Place place;
  ASSERT_EQ(chmod(place.out.c_str(), 0640), 0);
  ASSERT_EQ(Qel({"convert", place.in, place.out}).status, 0);
  EXPECT_TRUE(test::ReadFile(place.out) == place.after);
  struct stat status;
  ASSERT_EQ(stat(place.out.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);

  const auto onto = Qel({"convert", place.out, place.out, "--layout", "block"});
  EXPECT_EQ(onto.status, 0) << onto.err;
  EXPECT_TRUE(test::ReadFile(place.out) == place.after);
  EXPECT_EQ(place.Names(), std::vector<std::string>{"out.bmp"});
}

TEST(Output, FollowsSymbolicLinksAndObeysTheMask) {
  const Place place;
  const std::string link = place.scratch / "link.bmp", fresh = place.scratch / "fresh.bmp";
  std::filesystem::create_symlink("place/out.bmp", link);
  ASSERT_EQ(Qel({"convert", place.in, link}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(test::ReadFile(place.out) == place.after);

  ASSERT_EQ(Qel({"convert", place.in, fresh}, [] { umask(027); }).status, 0);
  struct stat status;
  ASSERT_EQ(stat(fresh.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640u);

  // A bare name lies in the working folder.
  const auto bare = Qel({"convert", place.in, "bare.bmp"}, [&] { (void)!chdir(place.folder.c_str()); });
  EXPECT_EQ(bare.status, 0) << bare.err;
  EXPECT_TRUE(test::ReadFile(place.folder + "/bare.bmp") == place.after);
}

TEST(Output, RefusesPlacesThatAreNoFiles) {
  const Place place;
  const auto Refused = [&](const std::string &out) {
    const auto outcome = Qel({"convert", place.in, out});
    EXPECT_EQ(outcome.status, 1) << out;
    return outcome.err;
  };
  EXPECT_EQ(Refused(place.folder), "qel: " + place.folder + ": is a folder\n");
  EXPECT_EQ(Refused(place.scratch / "none/out.bmp"),
            "qel: " + (place.scratch / "none/out.bmp") + ": No such file or directory\n");
  EXPECT_EQ(Refused(place.in + "/out.bmp"), "qel: " + place.in + "/out.bmp: Not a directory\n");
  EXPECT_EQ(Refused(""), "qel: '': No such file or directory\n");

  // A device of one's own: replacing it by a file would be the worst that could happen.
  const std::string fifo = place.scratch / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(Refused(fifo), "qel: " + fifo + ": is not a regular file\n");
  EXPECT_TRUE(std::filesystem::is_fifo(fifo));
}

TEST(Output, LeavesTheOlderFileWhenTheInputIsBad) {
  const Place place;
  test::WriteFile(place.in, "no picture");
  EXPECT_EQ(Qel({"convert", place.in, place.out}).err, "qel: " + place.in + ": is no picture of a known format\n");
  EXPECT_TRUE(test::ReadFile(place.out) == place.before);
}

TEST(Output, ObeysPermissions) {
  if (!PermissionsBind()) GTEST_SKIP() << "this user may open every file";
  const Place place;
  ASSERT_EQ(chmod(place.out.c_str(), 0444), 0);
  place.ExpectRefused(Qel({"convert", place.in, place.out}, ObeyPermissions), "Permission denied");
  ASSERT_EQ(chmod(place.out.c_str(), 0644), 0);
  ASSERT_EQ(chmod(place.folder.c_str(), 0555), 0);
  place.ExpectRefused(Qel({"convert", place.in, place.out}, ObeyPermissions), "Permission denied");
  ASSERT_EQ(chmod(place.folder.c_str(), 0755), 0);

  ASSERT_EQ(chmod(place.in.c_str(), 0), 0);
  EXPECT_EQ(Qel({"info", place.in}, ObeyPermissions).err, "qel: " + place.in + ": Permission denied\n");
}

TEST(Output, LeavesTheOlderFileWhenASizeLimitCutsTheNewOne) {
  const Place place;
  const auto outcome = Qel({"convert", place.in, place.out}, [] {
    const rlimit limit{20000, 20000};
    setrlimit(RLIMIT_FSIZE, &limit);
  });
  place.ExpectRefused(outcome, "File too large");
}

TEST(Output, LeavesTheOlderFileWhenTheDiskIsFull) {
  const Place place;
  const std::string full = place.scratch / "full";
  std::filesystem::create_directory(full);
  constexpr int kNoMounts = 99;
  const auto MountSmallDisk = [&] {
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("small", full.c_str(), "tmpfs", 0, "size=16k") != 0)
      _exit(kNoMounts);
  };
  // The disk is seen by the child alone, so the child looks at what is left on it.
  const auto outcome = test::Run({"/bin/sh", "-c",
                                  "cp \"$1\" \"$3/out.bmp\" && \"$0\" convert \"$2\" \"$3/out.bmp\"; status=$?; "
                                  "cmp \"$1\" \"$3/out.bmp\" && ls -A \"$3\"; exit $status",
                                  QEL_PROGRAM, place.out, place.in, full},
                                 MountSmallDisk);
  if (outcome.status == kNoMounts) GTEST_SKIP() << "this user may not mount a small disk";
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "qel: " + full + "/out.bmp: No space left on device\n");
  EXPECT_EQ(outcome.out, "out.bmp\n");
}

/// Ends `qel` while it writes; false when it was done, and well done, before that could be seen.
bool InterruptWhileWriting(const Place &place) {
  // Rows that a file lacks read as 0, so a header alone makes a picture that takes a while to write.
  test::DibFile header;
  header.bits = 24;
  header.width = header.height = 6000;
  test::WriteFile(place.in, Pack(header));
  const test::Scratch streams;
  const pid_t child = test::Start(streams, {QEL_PROGRAM, "convert", place.in, place.out, "--store", "reserved"});
  siginfo_t done{};
  while (place.Names().size() == 1 && done.si_pid == 0) waitid(P_PID, child, &done, WEXITED | WNOHANG | WNOWAIT);
  kill(child, SIGTERM);
  const int status = test::Wait(child);
  if (status == 0) return false;
  EXPECT_EQ(status, 128 + SIGTERM) << test::ReadFile(streams / "err");
  return true;
}

TEST(Output, LeavesNothingBesideWhenInterrupted) {
  for (int attempt = 0; attempt < 20; ++attempt) {
    const Place place;
    if (!InterruptWhileWriting(place)) continue;
    EXPECT_EQ(place.Names(), std::vector<std::string>{"out.bmp"});
    EXPECT_TRUE(test::ReadFile(place.out) == place.before);
    return;
  }
  FAIL() << "was never caught writing";
}

}  // namespace

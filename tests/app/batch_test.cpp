// Batches: every picture as the verb alone makes it, whatever lies between them; what was done stays done.
#include <csignal>
#include <cstdio>

#include "app/picture.h"

namespace {

using test::Qel;

/// A folder of three pictures, a broken one, a text and a folder with one more.
struct Folder {
  test::Scratch scratch;
  std::string in = scratch / "in", out = scratch / "out";

  Folder() {
    test::WriteFile(in + "/notes.txt", "no picture");
    test::WriteFile(in + "/broken.bmp", "BM and no more");
    test::SaveRandom(in + "/a b.bmp", 1, 61, 47);
    test::SaveRandom(in + "/c.bmp", 3, 40, 90);
    test::SaveRandom(in + "/d.BMP", 5, 33, 20);
    std::filesystem::create_directory(in + "/more");
    test::SaveRandom(in + "/more/a b.bmp", 2, 10, 10);
  }

  test::Outcome Run(std::vector<std::string> command, const std::string &to = "out") const {
    command.insert(command.begin(), {"batch", in, scratch / to});
    return Qel(command);
  }
};

bool EndsWith(const std::string &text, const std::string &end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST(Batch, DoesWhatTheVerbDoesForEveryPictureWithAnyNumberOfWorkers) {
  const Folder folder;
  const std::vector<std::string> names{".qel-batch", "a b.msk", "c.msk", "d.msk", "more"};
  for (const char *jobs : {"1", "3"}) {
    const std::string to = std::string("out") + jobs;
    const auto outcome =
        folder.Run({"resize", "--jobs", jobs, "50%", "--smooth", "--recursive", "--format", "msk"}, to);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "qel: " + folder.in + "/broken.bmp: is cut short within its headers\n");
    EXPECT_EQ(outcome.out.rfind(folder.in + "/notes.txt: is no picture, skipped\n[1/5] ", 0), 0u) << outcome.out;
    EXPECT_TRUE(EndsWith(outcome.out, "\n4 done, 1 no pictures, 1 failed\n")) << outcome.out;
    EXPECT_EQ(folder.scratch.List(to), names);
    for (const char *name : {"a b.", "c.", "more/a b."}) {
      const std::string alone = folder.scratch / "alone.msk";
      ASSERT_EQ(Qel({"resize", folder.in + "/" + name + "bmp", alone, "50%", "--smooth"}).status, 0);
      EXPECT_TRUE(test::ReadFile(alone) == test::ReadFile(folder.scratch / to + "/" + name + "msk")) << name;
    }
  }
}

TEST(Batch, DoesOnlyWhatIsLeftToDo) {
  const Folder folder;
  const auto Tell = [&](const std::vector<std::string> &command) {
    const std::string out = folder.Run(command).out;
    return out.substr(out.rfind('\n', out.size() - 2) + 1);
  };
  const std::vector<std::string> left{"turn", "left"}, right{"turn", "right"};
  EXPECT_EQ(Tell(left), "3 done, 1 no pictures, 1 failed\n");
  EXPECT_EQ(Tell(left), "0 done, 3 done before, 1 no pictures, 1 failed\n");
  std::filesystem::remove(folder.out + "/c.bmp");
  EXPECT_EQ(Tell(left), "1 done, 2 done before, 1 no pictures, 1 failed\n");
  test::SaveRandom(folder.in + "/broken.bmp", 1, 5, 5);
  test::SaveRandom(folder.in + "/a b.bmp", 1, 60, 47, 2);
  EXPECT_EQ(folder.Run({"turn", "lft"}).status, 2);  // costs nothing of the record
  EXPECT_EQ(Tell(left), "2 done, 2 done before, 1 no pictures\n");
  // A torn last line of the record counts for nothing.
  std::filesystem::resize_file(folder.out + "/.qel-batch", std::filesystem::file_size(folder.out + "/.qel-batch") - 1);
  EXPECT_EQ(Tell(left), "1 done, 3 done before, 1 no pictures\n");
  EXPECT_EQ(Tell(right), "4 done, 1 no pictures\n");
  EXPECT_EQ(Tell(left), "4 done, 1 no pictures\n");
}

TEST(Batch, PutsFilesWhereTheyAreAskedFor) {
  const Folder folder;
  EXPECT_EQ(folder.Run({"bounds"}).status, 1);
  EXPECT_EQ(test::ReadFile(folder.out + "/a b.bmp.txt"), Qel({"bounds", folder.in + "/a b.bmp"}).out);
  EXPECT_EQ(folder.Run({"mask", "--key", "000000"}, "masks").status, 1);
  EXPECT_EQ(folder.scratch.List("masks").size(), 7u);
  EXPECT_EQ(folder.Run({"compare", "{in}", folder.scratch / "copies/{name}"}, "compared").status, 1);
  std::filesystem::copy(folder.in, folder.scratch / "copies");
  EXPECT_TRUE(EndsWith(folder.Run({"compare", "{in}", folder.scratch / "copies/{name}"}, "compared").out,
                       "3 done, 1 no pictures, 1 failed\n"));
  // Two pictures that would have one result.
  test::SaveRandom(folder.in + "/c.dib", 1, 10, 10);
  const auto clash = folder.Run({"convert", "--format", "msk"}, "clash");
  EXPECT_EQ(clash.status, 1);
  EXPECT_NE(clash.err.find("qel: " + folder.in + "/c.dib: has the same result as another picture: "),
            std::string::npos);
  EXPECT_EQ(test::ReadFile(folder.scratch / "clash/c.msk"), [&] {
    Qel({"convert", folder.in + "/c.bmp", folder.scratch / "alone.msk"});
    return test::ReadFile(folder.scratch / "alone.msk");
  }());
}

TEST(Batch, RefusesWhatItCannotRun) {
  const Folder folder;
  const std::vector<std::string> wrong[] = {{"convrt"},
                                            {"compose", "{in}", "a", "b"},
                                            {"card"},
                                            {"batch", "x", "y", "info"},
                                            {"convert", "--format", "unheard"},
                                            {"turn", "around"},
                                            {"turn", "left", "--jobs", "0"}};
  for (const auto &command : wrong) {
    const auto outcome = folder.Run(command);
    EXPECT_EQ(outcome.status, 2) << command[0];
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  for (const char *to : {"in", "none/../in", "in/c.bmp"}) EXPECT_EQ(folder.Run({"info"}, to).status, 1) << to;
  EXPECT_EQ(Qel({"batch", folder.scratch / "missing", folder.out, "info"}).status, 1);
}

TEST(Batch, LeavesNothingHalfDoneWhenInterruptedAndGoesOn) {
  const test::Scratch scratch;
  const std::string in = scratch / "in", out = scratch / "out";
  test::DibFile header;  // rows that a file lacks read as 0, so headers alone make pictures that take a while
  header.bits = 24;
  header.width = header.height = 4000;
  for (const char *name : {"/a", "/b", "/c", "/d", "/e", "/f"}) test::WriteFile(in + name, Pack(header));
  std::filesystem::create_directory(out);

  const test::Scratch streams;
  const pid_t child = test::Start(streams, {QEL_PROGRAM, "batch", in, out, "--jobs", "2", "turn", "left"});
  const auto recorded = [&out] {  // the command, then a line a picture that is done
    const std::string text = std::filesystem::exists(out + "/.qel-batch") ? test::ReadFile(out + "/.qel-batch") : "";
    return std::count(text.begin(), text.end(), '\n') > 1;
  };
  while (!recorded()) usleep(500);
  kill(child, SIGTERM);
  EXPECT_EQ(test::Wait(child), 128 + SIGTERM) << test::ReadFile(streams / "err");
  EXPECT_TRUE(EndsWith(test::ReadFile(streams / "out"), "interrupted, the same command goes on from here\n"));
  const auto names = scratch.List("out");
  EXPECT_LT(names.size(), 7u) << "was not interrupted";
  for (const std::string &name : names)
    if (name != ".qel-batch") {
      EXPECT_EQ(name.size(), 1u) << name;
      EXPECT_EQ(std::filesystem::file_size(out + "/" + name), 54u + 48000000) << name;
    }
  const auto rest = Qel({"batch", in, out, "turn", "left"});
  EXPECT_EQ(rest.status, 0);
  EXPECT_NE(rest.out.find(" done before\n"), std::string::npos) << rest.out;
  EXPECT_EQ(scratch.List("out").size(), 7u);
}

}  // namespace

// The layering check: finds planted includes that reach above their floor, and lets the others be.
#include <gtest/gtest.h>

#include "app/support.h"

namespace {

test::Outcome Check(const test::Scratch &tree) {
  return test::Run({QEL_CMAKE, "-DROOT=" + tree / "", "-P", QEL_LAYERING_SCRIPT});
}

TEST(Layering, AcceptsOwnFloorAndThoseBelow) {
  const test::Scratch tree;
  test::WriteFile(tree / "qel/qel.h", "#include \"qel/image/image.h\"\n");
  test::WriteFile(tree / "qel/mem/mem.cpp",
                  "#include \"qel/mem/mem.h\"\n#include \"qel/lines/copy.h\"\n#include <qel/platform/types.h>\n"
                  "#include <vector>\n#include \"qel/export.h\"\n");
  test::WriteFile(tree / "qel/ops/masks/border.cpp", "#include \"qel/draw/point_array.h\"\n");
  test::WriteFile(tree / "qel/lines/fill.cpp", "// #include \"qel/mem/mem.h\"\n#include <hwy/highway.h>\n");
  const auto outcome = Check(tree);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
}

TEST(Layering, CatchesWhatReachesUp) {
  struct Plant {
    const char *path, *text, *message;
  };
  const Plant plants[] = {
      {"qel/lines/fill.cpp", "\n#include \"qel/mem/mem.h\"\n", "fill.cpp:2: lines must not include qel/mem/mem.h"},
      {"qel/lines/deep/fill.h", "int a[2];\n  #  include <qel/image/image.h> // why\n",
       "fill.h:2: lines must not include qel/image/image.h"},
      {"qel/platform/types.h", "#include \"qel/lines/fill.h\"", "types.h:1: platform must not include"},
      {"qel/fileio/read.cpp", "#include \"qel/ops/fill.h\"\n", "read.cpp:1: fileio must not include qel/ops/fill.h"},
      {"qel/ops/fill.cpp", "#include \"qel/draw/context.h\"\n", "fill.cpp:1: ops must not include"},
      {"qel/image/image.cpp", "#include \"qel/qel.h\"\n", "image.cpp:1: qel/qel.h stands above every floor"},
      {"qel/image/image.cpp", "#include \"../draw/pen.h\"\n",
       "image.cpp:1: \"../draw/pen.h\" is not named from the root"},
      {"qel/display/show.cpp", "#include \"apps/qel/verbs.h\"\n", "show.cpp:1: display must not include apps/"},
      {"qel/cellar/wine.cpp", "", "wine.cpp:1: cellar is no floor"},
      {"qel/draw/pen.cpp", "#include \"qel/cellar/wine.h\"\n", "pen.cpp:1: cellar is no floor"},
  };
  for (const Plant &plant : plants) {
    const test::Scratch tree;
    test::WriteFile(tree / "qel/mem/mem.cpp", "#include \"qel/mem/mem.h\"\n");
    test::WriteFile(tree / plant.path, plant.text);
    const auto outcome = Check(tree);
    EXPECT_NE(outcome.status, 0) << plant.path;
    EXPECT_NE(outcome.err.find(plant.message), std::string::npos) << plant.message << '\n' << outcome.err;
  }
}

TEST(Layering, RefusesATreeWithoutAnEngine) {
  EXPECT_NE(Check(test::Scratch()).status, 0);
}

}  // namespace

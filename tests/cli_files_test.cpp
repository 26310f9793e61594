// The files `kly` leaves on disk: every file of a run appears complete or none does, whatever
// fails and whenever; existing files are replaced only where the user may write them; links are
// written through; standard output takes the bytes a file would.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/testing/cli_runner.h"
#include "tests/testing/mesh_files.h"

namespace {

namespace fs = std::filesystem;
using kly::testing::CliFixture;
using kly::testing::Outcome;
using kly::testing::ReadMesh;
using kly::testing::ReadMeshAs;

class CliFilesTest : public CliFixture {
 protected:
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(work_ / name, std::ios::binary) << text;
  }
  ReadMesh Read(const std::string& name, const std::string& format) const {
    return ReadMeshAs(Contents(name), format);
  }
  // Waits up to five seconds for `count` entries in the work folder.
  bool AwaitEntries(size_t count) const {
    for (int i = 0; i < 500 && Entries().size() < count; ++i) usleep(10000);
    return Entries().size() >= count;
  }
};

// A one-division cube: 6 faces of 2 triangles.
const std::vector<std::string> kSmallCube = {"cube", "--divisions", "1"};

std::vector<std::string> With(std::vector<std::string> args, const std::vector<std::string>& more) {
  args.insert(args.end(), more.begin(), more.end());
  return args;
}

TEST_F(CliFilesTest, ReadOnlyOutputIsRefusedAndKept) {
  Write("kept.glb", "old");
  fs::permissions(work_ / "kept.glb", fs::perms::owner_read | fs::perms::group_read);
  const Outcome run = Kly(With(kSmallCube, {"-o", "kept.glb"}));
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err, "kly: cannot write 'kept.glb': the file is read-only\n");
  EXPECT_EQ(Contents("kept.glb"), "old");
  EXPECT_EQ(Entries(), std::vector<std::string>{"kept.glb"});
}

TEST_F(CliFilesTest, ReplacedFileKeepsItsPermissions) {
  Write("mesh.stl", "old");
  fs::permissions(work_ / "mesh.stl", fs::perms::owner_read | fs::perms::owner_write);
  const Outcome run = Kly(With(kSmallCube, {"-o", "mesh.stl"}));
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(Read("mesh.stl", ".stl").triangles.size(), 12u);
  EXPECT_EQ(fs::status(work_ / "mesh.stl").permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(CliFilesTest, WhatIsNoRegularFileIsRefused) {
  fs::create_directory(work_ / "folder.glb");
  const Outcome folder = Kly(With(kSmallCube, {"-o", "folder.glb"}));
  EXPECT_EQ(folder.exit_code, 1);
  EXPECT_EQ(folder.err, "kly: cannot write 'folder.glb': it is a folder\n");
  const Outcome device = Kly(With(kSmallCube, {"-o", "/dev/null", "--format", "stl"}));
  EXPECT_EQ(device.exit_code, 1);
  EXPECT_EQ(device.err, "kly: cannot write '/dev/null': it is not a regular file\n");
  const Outcome missing = Kly(With(kSmallCube, {"-o", "missing/x.glb"}));
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_EQ(missing.err, "kly: cannot write 'missing/x.glb': No such file or directory\n");
  EXPECT_EQ(Entries(), std::vector<std::string>{"folder.glb"});
}

TEST_F(CliFilesTest, LinksAreWrittenThroughToTheirTargets) {
  fs::create_directory(work_ / "real");
  // An existing target, a dangling one, and a chain of two links, one of them relative to a
  // link in another folder.
  Write("real/old.glb", "old");
  fs::create_symlink("real/old.glb", work_ / "to-old.glb");
  fs::create_symlink("real/new.glb", work_ / "to-new.glb");
  fs::create_symlink("chained.glb", work_ / "real/hop.glb");
  fs::create_symlink("real/hop.glb", work_ / "to-hop.glb");
  for (const char* link : {"to-old.glb", "to-new.glb", "to-hop.glb"}) {
    SCOPED_TRACE(link);
    const Outcome run = Kly(With(kSmallCube, {"-o", link}));
    ASSERT_EQ(run.exit_code, 0) << run.err;
    EXPECT_TRUE(fs::is_symlink(work_ / link));
  }
  EXPECT_EQ(Read("real/old.glb", ".glb").triangles.size(), 12u);
  EXPECT_EQ(Read("real/new.glb", ".glb").triangles.size(), 12u);
  EXPECT_EQ(Read("real/chained.glb", ".glb").triangles.size(), 12u);
  // No temporary anywhere: only the links and the targets.
  EXPECT_EQ(Entries(),
            (std::vector<std::string>{"real", "to-hop.glb", "to-new.glb", "to-old.glb"}));
  std::vector<std::string> real;
  for (const auto& entry : fs::directory_iterator(work_ / "real")) {
    real.push_back(entry.path().filename().string());
  }
  std::sort(real.begin(), real.end());
  EXPECT_EQ(real, (std::vector<std::string>{"chained.glb", "hop.glb", "new.glb", "old.glb"}));
}

TEST_F(CliFilesTest, LinkToReadOnlyFileIsRefused) {
  Write("target.glb", "old");
  fs::permissions(work_ / "target.glb", fs::perms::owner_read);
  fs::create_symlink("target.glb", work_ / "link.glb");
  const Outcome run = Kly(With(kSmallCube, {"-o", "link.glb"}));
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err, "kly: cannot write 'link.glb': the file is read-only\n");
  EXPECT_EQ(Contents("target.glb"), "old");
}

TEST_F(CliFilesTest, FailedSecondHalfLeavesNeitherHalf) {
  // Petals of amplitude 1 double the radius at their tips: 3e38 at the top becomes about 6e38
  // there, past the largest float. The plane -y = 0 puts the bottom half (file y < 0) in front,
  // written first and sound, and the top half behind, which cannot be written.
  const std::string message =
      "cannot write 'c.back.%s': vertex 1 lies at x = 3.62132e+38, past the largest 32-bit "
      "float (3.4e+38) that files hold; use smaller --top-radius, --bottom-radius or --height";
  for (const std::string extension : {"glb", "obj"}) {
    SCOPED_TRACE(extension);
    const Outcome run = Kly({"cylinder", "--top-radius", "3e38", "--petal-amplitude", "1",
                             "--petals", "3", "--split", "0,-1,0,0", "-o", "c." + extension});
    EXPECT_EQ(run.exit_code, 1);
    char expected[512];
    std::snprintf(expected, sizeof expected, message.c_str(), extension.c_str());
    EXPECT_EQ(run.err, "kly: " + std::string(expected) + "\n");
    EXPECT_EQ(Entries(), std::vector<std::string>{}) << "left behind";
  }
}

TEST_F(CliFilesTest, ObjGetsItsMaterialLibraryBeside) {
  const Outcome run = Kly(With(kSmallCube, {"-o", "m.obj"}));
  ASSERT_EQ(run.exit_code, 0) << run.err;
  EXPECT_EQ(Entries(), (std::vector<std::string>{"m.mtl", "m.obj"}));
  EXPECT_NE(Contents("m.obj").find("mtllib m.mtl\n"), std::string::npos);
  const Outcome halves = Kly(With(kSmallCube, {"--split", "1,0,0,0", "-o", "h.obj"}));
  ASSERT_EQ(halves.exit_code, 0) << halves.err;
  EXPECT_EQ(Entries(), (std::vector<std::string>{"h.back.mtl", "h.back.obj", "h.front.mtl",
                                                 "h.front.obj", "m.mtl", "m.obj"}));
  EXPECT_NE(Contents("h.back.obj").find("mtllib h.back.mtl\n"), std::string::npos);
}

TEST_F(CliFilesTest, FailedRenameTakesBackTheFilesRenamedBefore) {
  // The halves are created before the build; a folder put in the back half's place meanwhile
  // makes its rename fail after the front half's succeeded, which is then removed again. A
  // sphere of 8 rounds (655,360 triangles) builds and splits for long enough to put the folder
  // there.
  const pid_t child =
      Start({"sphere", "--subdivisions", "8", "--split", "0,0,1,0", "--quiet", "-o", "s.glb"});
  ASSERT_TRUE(AwaitEntries(2));
  fs::create_directory(work_ / "s.back.glb");
  const Outcome run = Finish(child);
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_EQ(run.err, "kly: cannot write 's.back.glb': Is a directory\n");
  EXPECT_EQ(Entries(), std::vector<std::string>{"s.back.glb"});
}

TEST_F(CliFilesTest, InterruptedBuildLeavesNoTemporaryBehind) {
  const pid_t child = Start({"sphere", "--subdivisions", "10", "-o", "s.glb"});
  // The temporary is made before the build starts; wait for it, then interrupt the build.
  ASSERT_TRUE(AwaitEntries(1));
  EXPECT_EQ(Entries()[0].rfind(".s.glb.", 0), 0u) << Entries()[0];
  kill(child, SIGINT);
  EXPECT_EQ(Finish(child).exit_code, 128 + SIGINT);
  EXPECT_EQ(Entries(), std::vector<std::string>{});
}

TEST_F(CliFilesTest, FileSizeLimitLeavesNoTemporaryBehind) {
  // 6 rounds: 40,960 triangles, an STL of 84 + 50 * 40,960 bytes, far past a limit of 10,000.
  const Outcome run = Finish(Start({"sphere", "--subdivisions", "6", "-o", "big.stl"}, 10000));
  EXPECT_EQ(run.exit_code, 128 + SIGXFSZ);
  EXPECT_EQ(Entries(), std::vector<std::string>{});
}

TEST_F(CliFilesTest, StandardOutputTakesTheFilesBytes) {
  struct Case {
    const char* format;
    const char* extension;
  };
  for (const Case c : {Case{"stl", ".stl"}, Case{"glb", ".glb"}, Case{"ply", ".ply"}}) {
    SCOPED_TRACE(c.format);
    const Outcome piped = Kly(With(kSmallCube, {"-o", "-", "--format", c.format}));
    ASSERT_EQ(piped.exit_code, 0) << piped.err;
    EXPECT_EQ(piped.err, "");
    EXPECT_EQ(Entries(), std::vector<std::string>{});
    const Outcome file = Kly(With(kSmallCube, {"-o", std::string("f") + c.extension}));
    ASSERT_EQ(file.exit_code, 0) << file.err;
    // Byte for byte what the file holds, zero bytes and all.
    EXPECT_EQ(piped.out, Contents(std::string("f") + c.extension));
    EXPECT_EQ(ReadMeshAs(piped.out, c.extension).triangles.size(), 12u);
    fs::remove(work_ / (std::string("f") + c.extension));
  }
  // 84 bytes of header and count, 50 a triangle.
  EXPECT_EQ(Kly(With(kSmallCube, {"-o", "-", "--format", "stl"})).out.size(), 84u + 12u * 50u);
  // An OBJ on standard output has no material library to name.
  const Outcome obj = Kly(With(kSmallCube, {"-o", "-", "--format", "obj"}));
  ASSERT_EQ(obj.exit_code, 0) << obj.err;
  EXPECT_EQ(obj.out.find("mtllib"), std::string::npos);
  EXPECT_EQ(ReadMeshAs(obj.out, ".obj").triangles.size(), 12u);
  EXPECT_EQ(Entries(), std::vector<std::string>{});
}

TEST_F(CliFilesTest, FormatOverridesTheExtension) {
  ASSERT_EQ(Kly(With(kSmallCube, {"-o", "mesh.bin", "--format", "ply"})).exit_code, 0);
  EXPECT_EQ(Contents("mesh.bin").rfind("ply\n", 0), 0u);
  ASSERT_EQ(Kly(With(kSmallCube, {"-o", "x.glb", "--format", "stl"})).exit_code, 0);
  EXPECT_EQ(Read("x.glb", ".stl").triangles.size(), 12u);
  // The default cube's grid lines lie at x = -1, -0.5, 0, 0.5, 1, so x = 0.5 cuts no triangle:
  // the front half has the +X face (32) and one column of four quads (8) of each of the four
  // faces around it; the back half the other 192 - 64.
  ASSERT_EQ(Kly({"cube", "-o", "h.bin", "--format", "stl", "--split", "1,0,0,-0.5"}).exit_code, 0);
  EXPECT_EQ(Entries(),
            (std::vector<std::string>{"h.back.bin", "h.front.bin", "mesh.bin", "x.glb"}));
  EXPECT_EQ(Read("h.front.bin", ".stl").triangles.size(), 64u);
  EXPECT_EQ(Read("h.back.bin", ".stl").triangles.size(), 128u);
}

TEST_F(CliFilesTest, ShortOutputOptionTakesNoEqualsSign) {
  // -o=PATH means PATH, as --output=PATH does; CLI11 alone would write a file named "=a.glb".
  ASSERT_EQ(Kly(With(kSmallCube, {"-o=a.glb"})).exit_code, 0);
  ASSERT_EQ(Kly(With(kSmallCube, {"--output=b.glb"})).exit_code, 0);
  ASSERT_EQ(Kly(With(kSmallCube, {"-oc.glb"})).exit_code, 0);
  EXPECT_EQ(Entries(), (std::vector<std::string>{"a.glb", "b.glb", "c.glb"}));
}

}  // namespace

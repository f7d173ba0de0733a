// tests/cpub/sysfile_test.cpp: buffered plain and gzip files, their failure codes, and the clocks.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "cpub/sysenv.h"

namespace vlr {
namespace {

class SysFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
    ASSERT_NE(sys_, nullptr);
  }
  void TearDown() override { EXPECT_EQ(VLR_sysenv_delete(&sys_), 0); }

  static std::string Path(const char* stem) {
    std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    for (char& c : name)
      c = c == '/' ? '_' : c;  // parameterised names hold a slash
    return std::string(VLR_TEST_TMP) + "/sysfile_" + name + "_" + stem;
  }
  SysFile* Open(const std::string& path, bool write, int32_t compressed, bool append = false) {
    int32_t code = -1;
    SysFile* f = VLR_sysenv_fopen(sys_, path.c_str(), 1, !write, write && !append, append,
                                  compressed, 9, &code);
    EXPECT_EQ(code, kSysOk) << path;
    return f;
  }
  // All lines through fgets with a buffer larger than any line; the last code in *end.
  std::vector<std::string> ReadLines(SysFile* f, int32_t* end, size_t size = 100000) {
    std::vector<std::string> lines;
    std::vector<char> buf(size);
    size_t len = 0;
    int32_t r;
    for (int guard = 0; guard < 1000000; ++guard) {  // a reader that never ends fails, not hangs
      r = VLR_sysenv_fgets(f, buf.data(), size, &len);
      if (r != kSysOk) break;
      lines.emplace_back(buf.data(), len);
    }
    *end = r;
    return lines;
  }
  static std::string Slurp(const std::string& path) {
    std::string s;
    FILE* fp = std::fopen(path.c_str(), "rb");
    for (int c; fp != nullptr && (c = std::fgetc(fp)) != EOF;)
      s += static_cast<char>(c);
    if (fp != nullptr) std::fclose(fp);
    return s;
  }

  SysEnv* sys_ = nullptr;
};

// Lines of every kind: empty, short, one three buffers long, and a last one without newline.
std::vector<std::string> Sample() {
  std::string longline;
  for (int k = 0; longline.size() < 50000; ++k)
    longline += std::to_string(k * 7919 % 10007) + ' ';
  return {"NAME test\n", "\n", longline + "\n", "x 1.5e+30\n", "tail without newline"};
}

class SysFileRoundTrip : public SysFileTest, public ::testing::WithParamInterface<int32_t> {};

TEST_P(SysFileRoundTrip, EveryWriterReadsBackLineForLine) {
  const int32_t gz = GetParam();
  const std::string path = Path(gz ? "data.gz" : "data.txt");
  const std::vector<std::string> lines = Sample();
  SysFile* f = Open(path, true, gz);
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(VLR_sysenv_fputs(f, lines[0].c_str()), kSysOk);
  EXPECT_EQ(VLR_sysenv_fputc(f, '\n'), kSysOk);
  EXPECT_EQ(VLR_sysenv_fprintf(f, "%s", lines[2].c_str()), kSysOk);  // longer than the buffer
  EXPECT_EQ(VLR_sysenv_fprintf(f, "x %.1e\n", 1.5e30), kSysOk);
  EXPECT_EQ(VLR_sysenv_fwrite(f, lines[4].data(), lines[4].size()), kSysOk);
  EXPECT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
  EXPECT_EQ(f, nullptr);

  const std::string raw = Slurp(path);
  ASSERT_GE(raw.size(), 2u);
  EXPECT_EQ(raw[0] == '\x1f' && raw[1] == '\x8b', gz != 0);  // compressed only when asked

  f = Open(path, false, gz);
  ASSERT_NE(f, nullptr);
  int32_t end = -1;
  EXPECT_EQ(ReadLines(f, &end), lines);
  EXPECT_EQ(end, kSysEndOfFile);
  size_t len = 99;
  char buf[8];
  EXPECT_EQ(VLR_sysenv_fgets(f, buf, sizeof buf, &len), kSysEndOfFile);  // and stays there
  EXPECT_EQ(len, 0u);

  // A small buffer splits the long line; the pieces join up to it.
  EXPECT_EQ(VLR_sysenv_frewind(f), kSysOk);
  std::string joined;
  for (int k = 0; k < 3; ++k) {
    char small[1000];
    do {
      ASSERT_EQ(VLR_sysenv_fgets(f, small, sizeof small, &len), kSysOk);
      ASSERT_LE(len, sizeof small - 1);
      joined.append(small, len);
    } while (len > 0 && small[len - 1] != '\n');
  }
  EXPECT_EQ(joined, lines[0] + lines[1] + lines[2]);

  // fread gives the whole content across buffer refills.
  EXPECT_EQ(VLR_sysenv_frewind(f), kSysOk);
  std::string all;
  for (const auto& l : lines)
    all += l;
  std::vector<char> got(all.size() + 10);
  size_t n = 0;
  EXPECT_EQ(VLR_sysenv_fread(f, got.data(), got.size(), &n), kSysOk);
  EXPECT_EQ(std::string(got.data(), n), all);
  EXPECT_EQ(VLR_sysenv_fread(f, got.data(), 1, &n), kSysEndOfFile);
  EXPECT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
}

TEST_P(SysFileRoundTrip, AppendingAddsAfterWhatWasThere) {
  const int32_t gz = GetParam();
  const std::string path = Path("append");
  SysFile* f = Open(path, true, gz);
  ASSERT_NE(f, nullptr);
  VLR_sysenv_fputs(f, "first\n");
  ASSERT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
  f = Open(path, true, gz, true);
  ASSERT_NE(f, nullptr);
  VLR_sysenv_fputs(f, "second\n");
  ASSERT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
  f = Open(path, false, gz);
  ASSERT_NE(f, nullptr);
  int32_t end = -1;
  EXPECT_EQ(ReadLines(f, &end), (std::vector<std::string>{"first\n", "second\n"}));
  EXPECT_EQ(end, kSysEndOfFile);
  VLR_sysenv_fclose(sys_, &f);
}

INSTANTIATE_TEST_SUITE_P(PlainAndGzip, SysFileRoundTrip, ::testing::Values(0, 1),
                         [](const auto& tp) { return tp.param ? "Gzip" : "Plain"; });

TEST_F(SysFileTest, CutGzipStreamReadsWhatItCanThenFails) {
  const std::string path = Path("cut.gz");
  SysFile* f = Open(path, true, 1);
  ASSERT_NE(f, nullptr);
  std::vector<std::string> lines;
  for (int k = 0; k < 20000; ++k) {
    lines.push_back("row" + std::to_string(k) + " " + std::to_string(k * 2654435761u % 1000003) +
                    "\n");
    VLR_sysenv_fputs(f, lines.back().c_str());
  }
  ASSERT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
  const std::string raw = Slurp(path);
  ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(raw.size() / 2)), 0);

  f = Open(path, false, 0);  // found to be gzip by its first bytes
  ASSERT_NE(f, nullptr);
  int32_t end = -1;
  const std::vector<std::string> got = ReadLines(f, &end);
  EXPECT_EQ(end, kSysReadFailed);
  EXPECT_GT(got.size(), 100u);
  EXPECT_LT(got.size(), lines.size());
  for (size_t k = 0; k + 1 < got.size(); ++k)
    ASSERT_EQ(got[k], lines[k]);
  size_t len = 0;
  char buf[64];
  EXPECT_EQ(VLR_sysenv_fgets(f, buf, sizeof buf, &len), kSysReadFailed);  // the failure sticks
  VLR_sysenv_fclose(sys_, &f);
}

// A large gzip file is unpacked by a thread of its own while the caller reads: the lines come
// in order through fgets and fread alike, again after a rewind part way, a close part way leaves
// nothing behind, and a cut stream gives what precedes the cut and then its failure.
TEST_F(SysFileTest, LargeGzipReadsInOrderThroughItsThread) {
  // The thread label runs this test beside the same test of the whole set: a file of its own.
  const std::string path = Path("large.gz") + "." + std::to_string(getpid());
  SysFile* f = Open(path, true, 1);
  ASSERT_NE(f, nullptr);
  std::vector<std::string> lines;
  std::string all;
  uint64_t x = 88172645463325252ull;
  for (int k = 0; k < 150000; ++k) {
    x ^= x << 13, x ^= x >> 7, x ^= x << 17;  // digits that pack poorly
    lines.push_back("C" + std::to_string(k) + " R" + std::to_string(x % 100003) + " " +
                    std::to_string(x >> 20) + "\n");
    all += lines.back();
    VLR_sysenv_fputs(f, lines.back().c_str());
  }
  ASSERT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
  const std::string raw = Slurp(path);
  ASSERT_GT(raw.size(), 1000000u);  // far beyond the size that gets a thread

  f = Open(path, false, 0);
  ASSERT_NE(f, nullptr);
  int32_t end = -1;
  EXPECT_EQ(ReadLines(f, &end), lines);
  EXPECT_EQ(end, kSysEndOfFile);
  // Rewound part way through a second reading, then read whole by fread in odd pieces.
  ASSERT_EQ(VLR_sysenv_frewind(f), kSysOk);
  std::vector<char> buf(all.size() + 10);
  size_t got = 0;
  ASSERT_EQ(VLR_sysenv_fread(f, buf.data(), 12345, &got), kSysOk);
  ASSERT_EQ(VLR_sysenv_frewind(f), kSysOk);
  size_t done = 0;
  for (int32_t r = kSysOk; r == kSysOk; done += got)
    r = VLR_sysenv_fread(f, buf.data() + done, 70001, &got);
  EXPECT_EQ(done, all.size());
  EXPECT_EQ(std::string(buf.data(), done) == all, true);
  VLR_sysenv_fclose(sys_, &f);
  // Closed after one line, while the thread waits on a full ring.
  f = Open(path, false, 0);
  ASSERT_NE(f, nullptr);
  size_t len = 0;
  ASSERT_EQ(VLR_sysenv_fgets(f, buf.data(), buf.size(), &len), kSysOk);
  EXPECT_EQ(std::string(buf.data(), len), lines[0]);
  usleep(20000);
  VLR_sysenv_fclose(sys_, &f);

  ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(raw.size() / 2)), 0);
  f = Open(path, false, 0);
  ASSERT_NE(f, nullptr);
  const std::vector<std::string> cut = ReadLines(f, &end);
  EXPECT_EQ(end, kSysReadFailed);
  EXPECT_GT(cut.size(), lines.size() / 4);
  EXPECT_LT(cut.size(), lines.size());
  for (size_t k = 0; k + 1 < cut.size(); ++k)
    ASSERT_EQ(cut[k], lines[k]);
  EXPECT_EQ(VLR_sysenv_fgets(f, buf.data(), buf.size(), &len), kSysReadFailed);
  VLR_sysenv_fclose(sys_, &f);
  std::remove(path.c_str());
}

TEST_F(SysFileTest, OpenFailuresGiveTheirCodes) {
  int32_t code = -1;
  EXPECT_EQ(VLR_sysenv_fopen(sys_, Path("missing").c_str(), 1, 1, 0, 0, 0, 9, &code), nullptr);
  EXPECT_EQ(code, kSysOpenFailed);
  EXPECT_EQ(VLR_sysenv_fopen(sys_, Path("missing.gz").c_str(), 1, 1, 0, 0, 1, 9, &code), nullptr);
  EXPECT_EQ(code, kSysOpenFailed);
  EXPECT_EQ(VLR_sysenv_fopen(sys_, "/nonexistent-dir/x", 1, 0, 1, 0, 0, 9, &code), nullptr);
  EXPECT_EQ(code, kSysOpenFailed);
  EXPECT_EQ(VLR_sysenv_fopen(sys_, nullptr, 1, 1, 0, 0, 0, 9, &code), nullptr);
  EXPECT_EQ(code, kSysInvalidFileName);
  EXPECT_EQ(VLR_sysenv_fopen(sys_, "", 1, 1, 0, 0, 0, 9, &code), nullptr);
  EXPECT_EQ(code, kSysInvalidFileName);
  SysFile* none = nullptr;
  EXPECT_EQ(VLR_sysenv_fclose(sys_, &none), kSysOk);
}

TEST_F(SysFileTest, PlainFileNamedGzReadsAsPlainAndIsNotWritable) {
  const std::string path = Path("plain.mps.gz");
  SysFile* f = Open(path, true, 0);
  ASSERT_NE(f, nullptr);
  VLR_sysenv_fputs(f, "ROWS\n N obj\n");
  ASSERT_EQ(VLR_sysenv_fclose(sys_, &f), kSysOk);
  f = Open(path, false, 1);
  ASSERT_NE(f, nullptr);
  EXPECT_STREQ(VLR_sysenv_fname(f), path.c_str());
  int32_t end = -1;
  EXPECT_EQ(ReadLines(f, &end), (std::vector<std::string>{"ROWS\n", " N obj\n"}));
  EXPECT_EQ(end, kSysEndOfFile);
  EXPECT_EQ(VLR_sysenv_fputs(f, "x"), kSysWriteFailed);
  VLR_sysenv_fclose(sys_, &f);
}

TEST(SysTime, ClocksAdvanceStopWhenOffAndStampHasItsForm) {
  SysEnv* sys = VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
  ASSERT_NE(sys, nullptr);
  const double t0 = VLR_sysenv_gettime(sys), w0 = VLR_sysenv_getwctime(sys);
  volatile double spin = 0;
  for (int k = 0; k < 2000000; ++k)
    spin = spin + 1e-9 * k;
  EXPECT_GT(VLR_sysenv_difftime(sys, -1.0, t0), 0.0);
  EXPECT_GE(VLR_sysenv_diffwctime(sys, -1.0, w0), 0.0);
  EXPECT_EQ(VLR_sysenv_difftime(sys, 5.0, 2.0), 3.0);
  VLR_sysenv_settimer(sys, 0);
  EXPECT_EQ(VLR_sysenv_gettime(sys), 0.0);
  EXPECT_EQ(VLR_sysenv_getwctime(sys), 0.0);
  VLR_sysenv_settimer(sys, 1);
  char stamp[32], shortbuf[4], secs[16];
  VLR_sysenv_localtime(stamp, sizeof stamp);
  EXPECT_TRUE(std::regex_match(stamp, std::regex("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d")))
      << stamp;
  VLR_sysenv_localtime(shortbuf, sizeof shortbuf);  // too small: empty, never unterminated
  EXPECT_STREQ(shortbuf, "");
  VLR_sysenv_wctimetostr(12.5, secs, sizeof secs);
  EXPECT_STREQ(secs, "12.50");
  EXPECT_EQ(VLR_sysenv_delete(&sys), 0);
}

}  // namespace
}  // namespace vlr

// tests/cpub/stream_test.cpp: stream buffers: the format language, whole-line delivery, UTF-8 at
// the buffer edge, and the system log fan-out.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/stream.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "cpub/sysenv.h"

namespace {

struct Sink {
  std::vector<std::string> parts;
  std::string All() const {
    std::string s;
    for (const auto& p : parts)
      s += p;
    return s;
  }
  static void Func(void* h, const char* text) { static_cast<Sink*>(h)->parts.emplace_back(text); }
};

class StreamSetTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = vlr::VLR_sysenv_make(0, 10, nullptr, nullptr, nullptr);
    set_ = vlr::VLR_streams_make(sys_, "banner");
    ASSERT_NE(set_, nullptr);
  }
  void TearDown() override {
    vlr::VLR_streams_delete(&set_);
    EXPECT_EQ(set_, nullptr);
    EXPECT_EQ(vlr::VLR_sysenv_delete(&sys_), vlr::kSysOk);
  }
  std::string Format(const char* format, ...) {
    Sink sink;
    vlr::VLR_stream_linkfunc(set_, 1, &sink, Sink::Func);
    va_list ap;
    va_start(ap, format);
    vlr::VLR_stream_formatva(set_, 1, format, ap);
    va_end(ap);
    vlr::VLR_stream_flush(set_, 1);
    vlr::VLR_stream_linkfunc(set_, 1, nullptr, nullptr);
    return sink.All();
  }
  vlr::SysEnv* sys_ = nullptr;
  vlr::StreamSet* set_ = nullptr;
};

TEST_F(StreamSetTest, FormatLanguageTakesWidthsAndWideIntegers) {
  EXPECT_EQ(Format("[%5d|%-4s|%u]", int32_t{-12}, "ab", uint32_t{7}), "[  -12|ab  |7]");
  EXPECT_EQ(Format("%l %I %L", int64_t{-5000000000}, int64_t{3}, uint64_t{18000000000000000000ULL}),
            "-5000000000 3 18000000000000000000");
  EXPECT_EQ(Format("%8.2e|%f|%g", 1234.5, 0.5, 1e-7), "1.23e+03|0.500000|1e-07");
  EXPECT_EQ(Format("%ws and %s", L"wide \u00e6", "narrow"), "wide \xc3\xa6 and narrow");
  EXPECT_EQ(Format("100%% %q stays"), "100% %q stays");  // unknown specifiers are copied
  EXPECT_EQ(Format("%s", static_cast<const char*>(nullptr)), "(null)");
}

TEST_F(StreamSetTest, EchoGoesToTheLogOnceAndUnlinkedStreamsDropText) {
  Sink log, err;
  vlr::VLR_stream_linkfunc(set_, 0, &log, Sink::Func);
  vlr::VLR_echostream(set_, 2, "dropped on err, kept on log\n");
  EXPECT_EQ(log.All(), "dropped on err, kept on log\n");
  vlr::VLR_stream_linkfunc(set_, 2, &err, Sink::Func);
  vlr::VLR_echostream(set_, 0, "log only\n");
  EXPECT_TRUE(err.parts.empty());
  EXPECT_EQ(vlr::VLR_echostream(set_, 7, "bad"), 1);
}

TEST_F(StreamSetTest, LongLinesArriveInFullPiecesWithoutBrokenCharacters) {
  Sink sink;
  vlr::VLR_stream_linkfunc(set_, 1, &sink, Sink::Func);
  // Three-byte characters: 1024 is not a multiple of 3, so every full buffer ends mid-character.
  std::string text;
  for (int k = 0; k < 1000; ++k)
    text += "\xe2\x82\xac";
  text += "\n";
  vlr::VLR_stream_write(set_, 1, text.data(), text.size());
  EXPECT_EQ(sink.All(), text);
  for (const auto& p : sink.parts) {
    ASSERT_LE(p.size(), vlr::kStreamBufSize);
    EXPECT_EQ(p.size() % 3 == 0 || p.back() == '\n', true);
  }
}

std::vector<std::string> g_syslines;
void SysHook(void*, const char* text) {
  g_syslines.emplace_back(text);
}

TEST(SysLogTest, FanOutReachesEveryLinkedHookUntilUnlinked) {
  vlr::SysEnv* sys = vlr::VLR_sysenv_make(0, 0, nullptr, nullptr, nullptr);
  g_syslines.clear();
  for (int k = 0; k < 10; ++k)
    EXPECT_EQ(vlr::VLR_sysenv_linkfunctostream(sys, 0, nullptr, SysHook), 0);
  EXPECT_EQ(vlr::VLR_sysenv_linkfunctostream(sys, 0, nullptr, SysHook), 1);  // ten slots only
  vlr::VLR_sysenv_printf(sys, "n=%d\n", 3);
  EXPECT_EQ(g_syslines.size(), 10u);
  EXPECT_EQ(g_syslines[0], "n=3\n");
  vlr::VLR_sysenv_unlinkfuncfromstream(sys, 0, SysHook);
  vlr::VLR_sysenv_printf(sys, "gone\n");
  EXPECT_EQ(g_syslines.size(), 10u);
  EXPECT_EQ(vlr::VLR_sysenv_delete(&sys), vlr::kSysOk);
}

}  // namespace

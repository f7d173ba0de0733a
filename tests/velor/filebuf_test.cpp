// tests/velor/filebuf_test.cpp: the block chain of the token readers: reads across blocks,
// put-back of any length, positions with the line-start column, cursors, and token texts.
// SPDX-License-Identifier: Apache-2.0
#include "velor/filebuf.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace vlr;

// Hands out a string in pieces of at most `chunk` bytes, so block edges fall inside the text.
struct Source {
  std::string text;
  size_t at = 0;
  int64_t chunk = kFileBufferBlock;
  bool fail_at_end = false;
  static int64_t Read(void* arg, char* buf, int64_t size) {
    auto* s = static_cast<Source*>(arg);
    if (s->at == s->text.size()) return s->fail_at_end ? -1 : 0;
    const size_t n = std::min({size_t(size), size_t(s->chunk), s->text.size() - s->at});
    s->text.copy(buf, n, s->at);
    s->at += n;
    return int64_t(n);
  }
};

class FileBufTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sys_ = VLR_sysenv_make(0, 1, nullptr, nullptr, nullptr);
    base_ = VLR_sysenv_numblocks(sys_);
  }
  void TearDown() override {
    VLR_FileBuffer_delete(&fb_);
    EXPECT_EQ(VLR_sysenv_numblocks(sys_), base_);  // every block went back
    EXPECT_EQ(VLR_sysenv_delete(&sys_), kSysOk);
  }
  void Open(const std::string& text, int64_t chunk = kFileBufferBlock) {
    src_.text = text;
    src_.chunk = chunk;
    ASSERT_EQ(VLR_FileBuffer_new(sys_, &src_, Source::Read, &fb_), kSysOk);
  }
  std::string ReadAll() {
    std::string s;
    for (int32_t c; (c = VLR_FileBuffer_getc(&fb_)) >= 0;)
      s += char(c);
    return s;
  }
  SysEnv* sys_ = nullptr;
  int64_t base_ = 0;
  Source src_;
  FileBuffer fb_{};
};

TEST_F(FileBufTest, ReadsEveryByteAcrossBlocksAndPiecesThenEndsForGood) {
  std::string text;
  for (int k = 0; k < 3 * kFileBufferBlock + 17; ++k)
    text += char(k % 251 + 1);
  text += "\xff\x80";  // bytes above 127 come back as 0..255, never as -1
  Open(text, 4097);
  EXPECT_EQ(ReadAll(), text);
  EXPECT_EQ(fb_.eof, 1);
  EXPECT_EQ(fb_.pos, int64_t(text.size()));
  EXPECT_EQ(VLR_FileBuffer_getc(&fb_), -1);
  EXPECT_EQ(VLR_FileBuffer_peekahead(&fb_), -1);
}

TEST_F(FileBufTest, EmptyInputIsAtTheEndFromTheStartAndAReaderFailureEndsTheInput) {
  Open("");
  EXPECT_EQ(fb_.eof, 1);
  EXPECT_EQ(VLR_FileBuffer_getc(&fb_), -1);
  VLR_FileBuffer_delete(&fb_);
  src_ = Source{};
  src_.text = "ab";
  src_.fail_at_end = true;
  ASSERT_EQ(VLR_FileBuffer_new(sys_, &src_, Source::Read, &fb_), kSysOk);
  EXPECT_EQ(ReadAll(), "ab");
  EXPECT_EQ(fb_.failed, 1);
}

TEST_F(FileBufTest, PositionsCountTheLineFeedOnItsNewLine) {
  Open("ab\ncd\n\ne");
  struct At {
    int32_t c, line, col;  // position after reading c
  } want[] = {{'a', 1, 2}, {'b', 1, 3},  {'\n', 2, 2}, {'c', 2, 3},
              {'d', 2, 4}, {'\n', 3, 2}, {'\n', 4, 2}, {'e', 4, 3}};
  for (const At& w : want) {
    ASSERT_EQ(VLR_FileBuffer_getc(&fb_), w.c);
    EXPECT_EQ(fb_.line, w.line) << char(w.c);
    EXPECT_EQ(fb_.col, w.col) << char(w.c);
  }
  EXPECT_EQ(fb_.pos, 8);
  // Putting back a line feed takes the line back and starts the column again at 1.
  ASSERT_EQ(VLR_FileBuffer_putback(&fb_, 'e'), kSysOk);
  ASSERT_EQ(VLR_FileBuffer_putback(&fb_, '\n'), kSysOk);
  EXPECT_EQ(fb_.line, 3);
  EXPECT_EQ(fb_.col, 1);
  EXPECT_EQ(fb_.pos, 6);
}

TEST_F(FileBufTest, PutBackHasNoLimitAndClearsTheEnd) {
  Open("xyz", 1);
  EXPECT_EQ(VLR_FileBuffer_getc(&fb_), 'x');
  // More than a block in front of the read point: new blocks are linked before it.
  std::string back;
  for (int k = 0; k < 2 * kFileBufferBlock + 5; ++k)
    back += char('a' + k % 26);
  ASSERT_EQ(VLR_FileBuffer_putbacks(&fb_, back.c_str()), kSysOk);
  EXPECT_EQ(ReadAll(), back + "yz");
  ASSERT_EQ(VLR_FileBuffer_putback(&fb_, 'q'), kSysOk);
  EXPECT_EQ(fb_.eof, 0);
  EXPECT_EQ(VLR_FileBuffer_getc(&fb_), 'q');
  EXPECT_EQ(VLR_FileBuffer_getc(&fb_), -1);
  // Only bytes may be put back.
  ASSERT_EQ(VLR_FileBuffer_putback(&fb_, -1), kSysOk);
  EXPECT_EQ(VLR_FileBuffer_getc(&fb_), -1);
}

TEST_F(FileBufTest, LookAheadConsumesNothingAndSkipsCountLines) {
  Open("subject \\ note\n  to x", 3);
  EXPECT_TRUE(VLR_FileBuffer_matchahead(&fb_, "subject"));
  EXPECT_FALSE(VLR_FileBuffer_matchahead(&fb_, "subjects"));
  EXPECT_FALSE(VLR_FileBuffer_matchahead(&fb_, "subject \\ note\n  to x and more"));
  EXPECT_EQ(VLR_FileBuffer_peekahead(&fb_), 's');
  EXPECT_EQ(fb_.pos, 0);
  EXPECT_EQ(VLR_FileBuffer_skipahead(&fb_, 8), 8);
  EXPECT_EQ(VLR_FileBuffer_skipto(&fb_, '\n'), '\n');
  EXPECT_EQ(fb_.line, 2);
  EXPECT_EQ(VLR_FileBuffer_skipto(&fb_, '#'), -1);
  EXPECT_EQ(VLR_FileBuffer_skipahead(&fb_, 5), 0);
}

TEST_F(FileBufTest, CursorReadsAheadAcrossPulledBlocksAndReturnsToItsMark) {
  std::string text(kFileBufferBlock - 2, ' ');
  text += "to::\nend";
  Open(text, kFileBufferBlock);
  ASSERT_EQ(VLR_FileBuffer_skipahead(&fb_, kFileBufferBlock - 3), kFileBufferBlock - 3);
  FileBufferCursor a, b;
  VLR_FileBufferCursor_new(&fb_, &a);
  EXPECT_EQ(VLR_FileBufferCursor_getc(&a), ' ');
  std::string ahead;
  for (int32_t c; (c = VLR_FileBufferCursor_getc(&a)) >= 0;)
    ahead += char(c);
  EXPECT_EQ(ahead, "to::\nend");  // the second block was pulled for the cursor
  EXPECT_EQ(VLR_FileBufferCursor_getpos(&a), int64_t(text.size()));
  EXPECT_EQ(VLR_FileBufferCursor_getcol(&a), 5);
  EXPECT_EQ(fb_.pos, kFileBufferBlock - 3);  // the buffer did not move
  VLR_FileBufferCursor_rewind(&a);
  VLR_FileBufferCursor_new(&fb_, &b);
  EXPECT_TRUE(VLR_FileBufferCursor_equals(&a, &b));
  VLR_FileBufferCursor_getc(&b);
  EXPECT_FALSE(VLR_FileBufferCursor_equals(&a, &b));
  VLR_FileBufferCursor_set(&a, &b);
  EXPECT_TRUE(VLR_FileBufferCursor_equals(&a, &b));
  // After the buffer moves, a reset cursor starts from the new read point.
  EXPECT_EQ(VLR_FileBuffer_skipahead(&fb_, 1), 1);
  VLR_FileBufferCursor_reset(&a);
  EXPECT_EQ(VLR_FileBufferCursor_getc(&a), 't');
  EXPECT_EQ(ReadAll(), "to::\nend");
}

TEST_F(FileBufTest, NameBufferGrowsAndEditsItsText) {
  NameBuffer nb{};
  ASSERT_EQ(VLR_NameBuffer_new(sys_, &nb), kSysOk);
  std::string want;
  for (int k = 0; k < 1000; ++k) {
    ASSERT_EQ(VLR_NameBuffer_putc(&nb, 'a' + k % 26), kSysOk);
    want += char('a' + k % 26);
  }
  EXPECT_EQ(VLR_NameBuffer_get(&nb), want);
  EXPECT_GE(nb.cap, 1001);
  EXPECT_EQ(VLR_NameBuffer_popc(&nb), 'a' + 999 % 26);
  EXPECT_EQ(VLR_NameBuffer_size(&nb), 999);
  VLR_NameBuffer_clear(&nb);
  EXPECT_EQ(VLR_NameBuffer_popc(&nb), -1);
  for (char c : std::string(" \tMix.Ed 1 \r\n"))
    VLR_NameBuffer_putc(&nb, c);
  VLR_NameBuffer_strip(&nb);
  EXPECT_STREQ(VLR_NameBuffer_get(&nb), "Mix.Ed 1");
  VLR_NameBuffer_upper_case(&nb);
  EXPECT_STREQ(VLR_NameBuffer_get(&nb), "MIX.ED 1");
  VLR_NameBuffer_lower_case(&nb);
  EXPECT_STREQ(VLR_NameBuffer_get(&nb), "mix.ed 1");
  VLR_NameBuffer_delete(&nb);
}

TEST_F(FileBufTest, NumberTextsConvertWholeAndFiniteOnly) {
  NameBuffer nb{};
  ASSERT_EQ(VLR_NameBuffer_new(sys_, &nb), kSysOk);
  auto set = [&nb](const char* s) {
    VLR_NameBuffer_clear(&nb);
    for (; *s != '\0'; ++s)
      VLR_NameBuffer_putc(&nb, *s);
  };
  double x = 0;
  for (const char* good : {"1.5", ".5", "2.", "1e3", "1E-3", "-0.25", "1e-400"}) {
    set(good);
    EXPECT_TRUE(VLR_NameBuffer_to_double(&nb, &x)) << good;
  }
  set("1.5e3");
  ASSERT_TRUE(VLR_NameBuffer_to_double(&nb, &x));
  EXPECT_EQ(x, 1500.0);
  for (const char* bad :
       {"", "1e999", "-1e999", "nan", "inf", "0x10", " 1", "1 ", "1.5d3", "1e", "."}) {
    set(bad);
    EXPECT_FALSE(VLR_NameBuffer_to_double(&nb, &x)) << bad;
  }
  int32_t i = 0;
  int64_t l = 0;
  set("-2147483648");
  EXPECT_TRUE(VLR_NameBuffer_is_int(&nb));
  ASSERT_TRUE(VLR_NameBuffer_to_int(&nb, &i));
  EXPECT_EQ(i, INT32_MIN);
  set("2147483648");
  EXPECT_FALSE(VLR_NameBuffer_to_int(&nb, &i));
  ASSERT_TRUE(VLR_NameBuffer_to_longlong(&nb, &l));
  EXPECT_EQ(l, 2147483648LL);
  set("99999999999999999999");
  EXPECT_FALSE(VLR_NameBuffer_to_longlong(&nb, &l));
  for (const char* bad : {"", "+", "12a", "1.0", " 3"}) {
    set(bad);
    EXPECT_FALSE(VLR_NameBuffer_is_int(&nb)) << bad;
    EXPECT_FALSE(VLR_NameBuffer_to_int(&nb, &i)) << bad;
  }
  VLR_NameBuffer_delete(&nb);
}

TEST_F(FileBufTest, NameBufferStackReusesWhatWasGivenBack) {
  NameBufferStack st;
  VLR_NameBufferStack_new(sys_, &st);
  NameBuffer* a = VLR_NameBufferStack_get(&st);
  NameBuffer* b = VLR_NameBufferStack_get(&st);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  VLR_NameBuffer_putc(a, 'x');
  VLR_NameBufferStack_put(&st, a);
  NameBuffer* c = VLR_NameBufferStack_get(&st);
  EXPECT_EQ(c, a);
  EXPECT_EQ(VLR_NameBuffer_size(c), 0);  // handed out cleared
  VLR_NameBufferStack_put(&st, b);
  VLR_NameBufferStack_put(&st, c);
  VLR_NameBufferStack_put(&st, nullptr);
  EXPECT_EQ(st.count, 2);
  VLR_NameBufferStack_delete(&st);
}

}  // namespace

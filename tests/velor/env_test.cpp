// tests/velor/env_test.cpp: env and task life cycles, the exception path and the streams.
// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "fixture.h"

namespace {

using vlrtest::ReadFile;

using vlrtest::Collector;
using vlrtest::LastError;
using vlrtest::MakeEnv;
using vlrtest::MakeTask;

TEST(EnvTest, HandleChecksReturnBareCodes) {
  EXPECT_EQ(VLR_checkenv(nullptr), VLR_RES_ERR_NULL_ENV);
  EXPECT_EQ(VLR_checktask(nullptr), VLR_RES_ERR_NULL_TASK);
  EXPECT_EQ(VLR_initenv(nullptr), VLR_RES_ERR_NULL_ENV);
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, nullptr, nullptr, vlrtest::DbgFile()), VLR_RES_OK);
  EXPECT_EQ(VLR_checkenv(env), VLR_RES_ERR_NO_INIT_ENV);
  VLRtask_t task = nullptr;
  EXPECT_EQ(VLR_maketask(env, 0, 0, &task), VLR_RES_ERR_NO_INIT_ENV);
  EXPECT_EQ(task, nullptr);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  EXPECT_EQ(VLR_initenv(env), VLR_RES_OK);  // a second call does nothing
  EXPECT_EQ(VLR_checkenv(env), VLR_RES_OK);
  EXPECT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_EQ(env, nullptr);
  EXPECT_EQ(VLR_deleteenv(&env), VLR_RES_OK);  // null handle
}

TEST(EnvTest, ClearedTaskRecordIsInvalid) {
  // A record whose first word (the env) is null is refused without touching anything else.
  struct {
    void* env;
    char rest[64];
  } fake{};
  EXPECT_EQ(VLR_checktask(reinterpret_cast<VLRtask_t>(&fake)), VLR_RES_ERR_INVALID_TASK);
  int32_t v = 0;
  EXPECT_EQ(VLR_getintparam(reinterpret_cast<VLRtask_t>(&fake), VLR_IPAR_LOG, &v),
            VLR_RES_ERR_INVALID_TASK);
}

TEST(EnvTest, LivingTasksBlockDeletionUnlessCollected) {
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, nullptr, nullptr, vlrtest::DbgFile()), VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 3, 4, &task), VLR_RES_OK);
  EXPECT_EQ(VLR_deleteenv(&env), VLR_RES_ERR_LIVING_TASKS);
  ASSERT_NE(env, nullptr);
  VLRtask_t second = nullptr;  // the env stays usable
  ASSERT_EQ(VLR_makeemptytask(env, &second), VLR_RES_OK);
  ASSERT_EQ(VLR_deletetask(&second), VLR_RES_OK);
  ASSERT_EQ(VLR_enablegarcolenv(env), VLR_RES_OK);
  EXPECT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  ASSERT_NE(env, nullptr);  // deferred: the handle stays usable until the last task goes
  VLRenv_t got = nullptr;
  EXPECT_EQ(VLR_getenv(task, &got), VLR_RES_OK);
  EXPECT_EQ(got, env);
  EXPECT_EQ(VLR_deletetask(&task), VLR_RES_OK);  // takes the env with it
  EXPECT_EQ(task, nullptr);
}

TEST(EnvTest, TrackedLifeCycleWithErrorsLeavesNoBlockAndWritesDebugFiles) {
  const std::string prefix = vlrtest::TmpPath("envtest_dbg");
  VLRenv_t env = nullptr;
  ASSERT_EQ(VLR_makeenv(&env, nullptr, nullptr, nullptr, prefix.c_str()), VLR_RES_OK);
  ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
  VLRtask_t task = nullptr;
  ASSERT_EQ(VLR_maketask(env, 10, 10, &task), VLR_RES_OK);
  EXPECT_EQ(VLR_putintparam(task, VLR_IPAR_LOG, -1), VLR_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(VLR_putnaintparam(task, "VLR_IPAR_NOPE", 1), VLR_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(VLR_putparam(task, "VLR_DPAR_OPTIMIZER_MAX_TIME", "abc"), VLR_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(VLR_putstrparam(task, VLR_SPAR_STAT_NAME, "\"quoted name\""), VLR_RES_OK);
  int64_t cur = 0, max = 0;
  EXPECT_EQ(VLR_getmemusagetask64(task, &cur, &max), VLR_RES_OK);
  EXPECT_GT(cur, 0);
  EXPECT_GE(max, cur);
  void* block = VLR_calloctask(task, 10, 8);
  ASSERT_NE(block, nullptr);
  VLR_freetask(task, block);
  EXPECT_EQ(VLR_checkmemtask(task, __FILE__, __LINE__), VLR_RES_OK);
  ASSERT_EQ(VLR_deletetask(&task), VLR_RES_OK);  // a leak would give VLR_RES_ERR_SPACE_LEAKING
  ASSERT_EQ(VLR_deleteenv(&env), VLR_RES_OK);
  EXPECT_NE(ReadFile(prefix + ".env.txt").find("Header: VELOR memory debugging."),
            std::string::npos);
  EXPECT_NE(ReadFile(prefix + ".0.task.txt").find("File opened:"), std::string::npos);
}

TEST(EnvTest, UntrackedTaskHasNoMemoryFigures) {
  auto env = MakeEnv(nullptr);
  auto task = MakeTask(env.get());
  int64_t cur = -1, max = -1;
  EXPECT_EQ(VLR_getmemusagetask64(task.get(), &cur, &max), VLR_RES_ERR_SPACE_NO_INFO);
  EXPECT_EQ(cur, 0);
  EXPECT_EQ(max, 0);
}

TEST(EnvTest, VersionFunctions) {
  int32_t v[4] = {0, 0, 0, 0};
  ASSERT_EQ(VLR_getversion(&v[0], &v[1], &v[2], &v[3]), VLR_RES_OK);
  EXPECT_EQ(v[0], 6);
  EXPECT_EQ(v[3], 148);
  EXPECT_EQ(VLR_getversion(nullptr, nullptr, nullptr, nullptr), VLR_RES_OK);
  char text[64];
  ASSERT_EQ(VLR_getversionstring(sizeof text, text), VLR_RES_OK);
  EXPECT_STREQ(text, "6.0.0.148");
  auto env = MakeEnv();
  EXPECT_EQ(VLR_checkversion(env.get(), 6, 0, 0, 148), VLR_RES_OK);
  EXPECT_EQ(VLR_checkversion(env.get(), 6, 1, 0, 0), VLR_RES_ERR_OLDER_DLL);
  EXPECT_EQ(VLR_checkversion(env.get(), 5, 9, 9, 999), VLR_RES_ERR_NEWER_DLL);
  char date[VLR_MAX_STR_LEN];
  ASSERT_EQ(VLR_getbuildinfo(nullptr, date, nullptr), VLR_RES_OK);
  EXPECT_EQ(std::strlen(date), 19u);  // "2012-10-29 13:51:18"
  EXPECT_EQ(date[4], '-');
  EXPECT_EQ(date[13], ':');
}

// ---- The exception path ----------------------------------------------------------------

struct ResponseLog {
  int calls = 0;
  int32_t last = 0;
  int32_t answer = 0;
  static int32_t Func(void* handle, int32_t code, const char*) {
    auto* self = static_cast<ResponseLog*>(handle);
    ++self->calls;
    self->last = code;
    return self->answer;
  }
};

TEST(ExceptionTest, ErrorMessageHasHeadBodyAndStaysAsLastError) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  Collector err, log;
  ASSERT_EQ(VLR_linkfunctotaskstream(task.get(), VLR_STREAM_ERR, &err, Collector::Func), 0);
  ASSERT_EQ(VLR_linkfunctotaskstream(task.get(), VLR_STREAM_LOG, &log, Collector::Func), 0);
  EXPECT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG, -3), VLR_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(err.All(),
            "VELOR Error 1216     : The parameter value -3 is too small for parameter "
            "'VLR_IPAR_LOG'.\n");
  EXPECT_EQ(log.All(), err.All());  // every error is echoed once on the log stream
  ASSERT_EQ(err.lines.size(), 1u);  // delivered as one whole line
  int32_t code = 0;
  EXPECT_EQ(LastError(task.get(), &code),
            "The parameter value -3 is too small for parameter 'VLR_IPAR_LOG'.");
  EXPECT_EQ(code, VLR_RES_ERR_PARAM_IS_TOO_SMALL);
}

TEST(ExceptionTest, LocationBlockOnlyWithLogResponse) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  Collector err;
  VLR_linkfunctotaskstream(task.get(), VLR_STREAM_ERR, &err, Collector::Func);
  VLR_exceptiontask(task.get(), VLR_RES_ERR_NULL_POINTER, "x");
  EXPECT_EQ(err.All().find("Location of the error."), std::string::npos);
  ASSERT_EQ(VLR_putintparam(task.get(), VLR_IPAR_LOG_RESPONSE, 1), VLR_RES_OK);
  err.lines.clear();
  EXPECT_EQ(VLR_exceptiontask(task.get(), VLR_RES_ERR_NULL_POINTER, "x"), VLR_RES_ERR_NULL_POINTER);
  const std::string text = err.All();
  EXPECT_NE(text.find("Argument 'x' is unexpectedly a NULL pointer.\nLocation of the error.\n"),
            std::string::npos);
  EXPECT_NE(text.find("File                : "), std::string::npos);
  EXPECT_NE(text.find("Line                : "), std::string::npos);
}

TEST(ExceptionTest, WarningsAreSwallowedCountedAndCappedButAlwaysReported) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  Collector wrn;
  VLR_linkfunctotaskstream(task.get(), VLR_STREAM_WRN, &wrn, Collector::Func);
  // No response function: a warning becomes 0 and leaves no last error.
  EXPECT_EQ(VLR_exceptiontask(task.get(), VLR_RES_WRN_NAME_MAX_LEN, 10, 5), VLR_RES_OK);
  int32_t code = -1;
  EXPECT_EQ(LastError(task.get(), &code), "");
  EXPECT_EQ(code, 0);
  EXPECT_EQ(wrn.lines.size(), 1u);
  EXPECT_EQ(wrn.lines[0].rfind("VELOR Warning 65     : A name of length 10", 0), 0u);

  ResponseLog resp;
  ASSERT_EQ(VLR_putresponsefunc(task.get(), ResponseLog::Func, &resp), VLR_RES_OK);
  for (int k = 1; k < 12; ++k) {
    EXPECT_EQ(VLR_exceptiontask(task.get(), VLR_RES_WRN_NAME_MAX_LEN, 10, 5), VLR_RES_OK);
  }
  EXPECT_EQ(wrn.lines.size(), 10u);  // the eleventh and later print nothing...
  EXPECT_EQ(resp.calls, 11);         // ...but the response function still hears of them

  resp.answer = 4242;  // a non-zero answer turns a warning into that code
  EXPECT_EQ(VLR_exceptiontask(task.get(), VLR_RES_WRN_NAME_MAX_LEN, 10, 5), 4242);
  EXPECT_EQ(
      LastError(task.get(), &code),
      "A name of length 10 is longer than the buffer of length 5 that is supposed to hold it.");
  EXPECT_EQ(code, 4242);
  resp.answer = 0;  // for an error the answer is ignored
  EXPECT_EQ(VLR_exceptiontask(task.get(), VLR_RES_ERR_SPACE), VLR_RES_ERR_SPACE);
  EXPECT_EQ(resp.last, VLR_RES_ERR_SPACE);
}

TEST(ExceptionTest, InvalidStreamIsAnError) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  EXPECT_EQ(VLR_echotask(task.get(), 4, "x\n"), VLR_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(LastError(task.get()), "4 is an invalid stream.");
  EXPECT_EQ(VLR_linkfunctotaskstream(task.get(), -1, nullptr, nullptr), VLR_RES_ERR_INVALID_STREAM);
  EXPECT_EQ(VLR_echoenv(env.get(), 9, "x"), VLR_RES_ERR_INVALID_STREAM);
}

// ---- Streams ---------------------------------------------------------------------------

TEST(StreamTest, TextWaitsForItsLineEnd) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  Collector msg;
  VLR_linkfunctotaskstream(task.get(), VLR_STREAM_MSG, &msg, Collector::Func);
  VLR_echotask(task.get(), VLR_STREAM_MSG, "abc");
  VLR_echotask(task.get(), VLR_STREAM_MSG, "%d", 12);
  EXPECT_TRUE(msg.lines.empty());
  VLR_echotask(task.get(), VLR_STREAM_MSG, "!\nnext");
  ASSERT_EQ(msg.lines.size(), 1u);
  EXPECT_EQ(msg.lines[0], "abc12!\n");
  // Unlinking flushes what waits to the old function first.
  VLR_unlinkfuncfromtaskstream(task.get(), VLR_STREAM_MSG);
  ASSERT_EQ(msg.lines.size(), 2u);
  EXPECT_EQ(msg.lines[1], "next");
}

TEST(StreamTest, Utf8CharacterCutAtTheBufferEdgeArrivesWhole) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  Collector msg;
  VLR_linkfunctotaskstream(task.get(), VLR_STREAM_MSG, &msg, Collector::Func);
  // 1023 ASCII bytes, then a two-byte character that straddles the 1024-byte buffer.
  std::string text(1023, 'a');
  text += "\xc3\xa6";  // U+00E6
  text += "end\n";
  VLR_echotask(task.get(), VLR_STREAM_MSG, "%s", text.c_str());
  ASSERT_EQ(msg.lines.size(), 2u);
  EXPECT_EQ(msg.lines[0], std::string(1023, 'a'));
  EXPECT_EQ(msg.lines[1],
            "\xc3\xa6"
            "end\n");
  EXPECT_EQ(msg.All(), text);
}

TEST(StreamTest, FileLinkWritesOpenAndCloseLines) {
  auto env = MakeEnv();
  auto task = MakeTask(env.get());
  const std::string path = vlrtest::TmpPath("streamtest_log.txt");
  ASSERT_EQ(VLR_linkfiletotaskstream(task.get(), VLR_STREAM_LOG, path.c_str(), 0), VLR_RES_OK);
  VLR_echotask(task.get(), VLR_STREAM_ERR, "to the log too\n");
  ASSERT_EQ(VLR_linkfiletotaskstream(task.get(), VLR_STREAM_LOG, nullptr, 0), VLR_RES_OK);
  const std::string text = ReadFile(path);
  EXPECT_EQ(text.rfind("\nFile opened at ", 0), 0u);
  EXPECT_NE(text.find(" by VELOR version 6.0.0.148\n"), std::string::npos);
  EXPECT_NE(text.find("to the log too\n"), std::string::npos);
  EXPECT_NE(text.find("\nFile closed: "), std::string::npos);
  EXPECT_EQ(VLR_linkfiletotaskstream(task.get(), VLR_STREAM_LOG, "/nonexistent/dir/x.log", 0),
            VLR_RES_ERR_FILE_OPEN);
}

TEST(StreamTest, Utf8AndWideConversionsRoundTrip) {
  const char* utf8 = "x\xc3\xa6\xe2\x82\xac\xf0\x9f\x98\x80";  // x, U+00E6, U+20AC, U+1F600
  wchar_t wide[16];
  size_t len = 0, conv = 0;
  ASSERT_EQ(VLR_utf8towchar(16, &len, &conv, wide, utf8), VLR_RES_OK);
  EXPECT_EQ(len, 4u);
  EXPECT_EQ(conv, std::strlen(utf8));
  EXPECT_EQ(wide[3], static_cast<wchar_t>(0x1F600));
  char back[32];
  ASSERT_EQ(VLR_wchartoutf8(sizeof back, &len, &conv, back, wide), VLR_RES_OK);
  EXPECT_STREQ(back, utf8);
  EXPECT_EQ(VLR_utf8towchar(16, &len, &conv, wide, "\xc3("), VLR_RES_ERR_INVALID_UTF8);
}

// ---- Deletion from many threads -----------------------------------------------------------------

std::atomic<int64_t> g_threadlive{0};
void* AtomicMalloc(void*, size_t size) {
  g_threadlive.fetch_add(1);
  return std::malloc(size);
}
void AtomicFree(void*, void* block) {
  g_threadlive.fetch_sub(1);
  std::free(block);
}

// An env with garbage collection on, its tasks deleted on threads of their own while one more
// thread deletes the env. Whatever the order, the env is deleted exactly once: by VLR_deleteenv
// when no task lives, or by the last VLR_deletetask. Every block comes back.
TEST(EnvThreads, EnvIsDeletedOnceWhateverTheOrderOfDeletions) {
  constexpr int kTasks = 6;
  for (int round = 0; round < 300; ++round) {
    VLRenv_t env = nullptr;
    ASSERT_EQ(VLR_makeenv(&env, nullptr, AtomicMalloc, AtomicFree, nullptr), VLR_RES_OK);
    ASSERT_EQ(VLR_initenv(env), VLR_RES_OK);
    ASSERT_EQ(VLR_enablegarcolenv(env), VLR_RES_OK);
    std::vector<VLRtask_t> tasks(kTasks, nullptr);
    for (auto& t : tasks)
      ASSERT_EQ(VLR_maketask(env, 2, 2, &t), VLR_RES_OK);
    std::atomic<int> ready{0};
    std::vector<int32_t> codes(kTasks + 1, -1);
    auto start = [&](int me) {
      // Everyone waits for everyone, then the round's pattern of yields spreads the calls out.
      ready.fetch_add(1);
      while (ready.load() < kTasks + 1) {
      }
      for (int k = (round * 7 + me * 3) % (kTasks + 2); k > 0; --k)
        std::this_thread::yield();
    };
    std::vector<std::thread> threads;
    for (int k = 0; k < kTasks; ++k) {
      threads.emplace_back([&, k] {
        start(k);
        codes[k] = VLR_deletetask(&tasks[k]);
      });
    }
    VLRenv_t handle = env;
    threads.emplace_back([&] {
      start(kTasks);
      codes[kTasks] = VLR_deleteenv(&handle);
    });
    for (auto& th : threads)
      th.join();
    for (int k = 0; k <= kTasks; ++k)
      EXPECT_EQ(codes[k], VLR_RES_OK) << "round " << round << " thread " << k;
    ASSERT_EQ(g_threadlive.load(), 0) << "round " << round;
  }
}

}  // namespace

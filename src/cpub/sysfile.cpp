// src/cpub/sysfile.cpp: buffered files, plain or gzip, for data files, logs and solutions.
// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cpub/sysenv.h"

namespace vlr {

namespace {
constexpr size_t kFileBufSize = 16384;
// A compressed file of this size or more is unpacked by a thread of its own while the caller
// reads, through a ring of slots; on smaller ones the handing over costs more than it saves
// (pds-06, 0.3 MB packed, read 29 -> 37 ms with a thread; osa-14, 1.4 MB, 128 -> 99 ms).
constexpr int64_t kPipeMinSize = int64_t{1} << 19;
constexpr int32_t kPipeSlots = 4;
constexpr size_t kPipeSlotSize = 65536;
}  // namespace

// The unpacking thread and the slots it fills, handed to the reader in order. Counts only grow:
// slot k % kPipeSlots holds the k-th piece of the stream.
struct GzPipe {
  pthread_t thread;
  pthread_mutex_t mutex;
  pthread_cond_t cond;
  gzFile gz;
  char* data;              // kPipeSlots * kPipeSlotSize
  size_t len[kPipeSlots];  // bytes of each filled slot
  int64_t filled;          // pieces the thread has put in slots
  int64_t released;        // pieces the reader is done with
  bool holding;            // the reader is reading piece `released`
  bool stop;               // the reader asks the thread to end
  bool done;               // the thread has met the end of the stream, or a failure
  bool failed;             // the stream failed after the pieces filled before
};

struct SysFile {
  SysEnv* sys;
  char* path;        // the name as given, for messages; a replacing file's new file beside it
  char* target;      // a replacing file: the name it is renamed to on a good close; else null
  FILE* fp;          // plain file, or null
  gzFile gz;         // gzip stream, or null; exactly one of fp and gz is set
  bool reading;      // opened for reading; otherwise for writing or appending
  bool eof;          // reading: the file gave all it has
  int32_t error;     // first failure (kSysReadFailed, kSysWriteFailed), sticky; kSysOk
  size_t pos;        // reading: next unread byte of buf
  size_t len;        // reading: bytes held in data; writing: bytes waiting in buf
  const char* data;  // reading: the bytes at hand, in buf or in a slot of the pipe
  GzPipe* pipe;      // reading a large gzip file: its unpacking thread; else null
  char buf[kFileBufSize];
};

namespace {

// Writes what waits in the buffer. A short write is kSysWriteFailed, and stays so.
int32_t sysenv_writetofile(SysFile* f) {
  if (f->error != kSysOk) return f->error;
  if (f->len == 0) return kSysOk;
  bool ok;
  if (f->gz != nullptr) {
    ok = gzwrite(f->gz, f->buf, static_cast<unsigned>(f->len)) == static_cast<int>(f->len);
  } else {
    ok = std::fwrite(f->buf, 1, f->len, f->fp) == f->len;
  }
  f->len = 0;
  if (!ok) f->error = kSysWriteFailed;
  return f->error;
}

void* gzpipe_run(void* arg) {
  auto* q = static_cast<GzPipe*>(arg);
  for (;;) {
    pthread_mutex_lock(&q->mutex);
    while (!q->stop && q->filled - q->released >= kPipeSlots)
      pthread_cond_wait(&q->cond, &q->mutex);
    const bool stop = q->stop;
    const auto slot = static_cast<size_t>(q->filled % kPipeSlots);
    pthread_mutex_unlock(&q->mutex);
    if (stop) return nullptr;
    const int got =
        gzread(q->gz, q->data + slot * kPipeSlotSize, static_cast<unsigned>(kPipeSlotSize));
    int errnum = Z_OK;
    gzerror(q->gz, &errnum);
    pthread_mutex_lock(&q->mutex);
    if (got > 0) {
      q->len[slot] = static_cast<size_t>(got);
      ++q->filled;
    } else {
      // A stream cut short ends in Z_BUF_ERROR rather than a clean end of file.
      q->failed = got < 0 || (errnum != Z_OK && errnum != Z_STREAM_END);
      q->done = true;
    }
    pthread_cond_broadcast(&q->cond);
    pthread_mutex_unlock(&q->mutex);
    if (got <= 0) return nullptr;
  }
}

// Starts the thread on an empty ring; false when the system refuses a thread.
bool gzpipe_start(GzPipe* q) {
  q->filled = q->released = 0;
  q->holding = q->stop = q->done = q->failed = false;
  return pthread_create(&q->thread, nullptr, gzpipe_run, q) == 0;
}

void gzpipe_halt(GzPipe* q) {
  pthread_mutex_lock(&q->mutex);
  q->stop = true;
  pthread_cond_broadcast(&q->cond);
  pthread_mutex_unlock(&q->mutex);
  pthread_join(q->thread, nullptr);
}

void gzpipe_free(SysEnv* sys, GzPipe** pq) {
  GzPipe* q = *pq;
  if (q == nullptr) return;
  pthread_mutex_destroy(&q->mutex);
  pthread_cond_destroy(&q->cond);
  VLR_sysenv_freedbg(sys, VLR_HERE, q->data);
  VLR_sysenv_freedbg(sys, VLR_HERE, q);
  *pq = nullptr;
}

// A pipe for a gzip file being read, its thread running; null when the file is small or the
// system refuses space or a thread, and the caller's thread then unpacks.
GzPipe* gzpipe_make(SysEnv* sys, gzFile gz, int fd) {
  struct stat st {};
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < kPipeMinSize) return nullptr;
  auto* q = static_cast<GzPipe*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(GzPipe)));
  if (q == nullptr) return nullptr;
  q->data = static_cast<char*>(VLR_sysenv_mallocdbg(sys, VLR_HERE, kPipeSlots * kPipeSlotSize));
  const bool sync = pthread_mutex_init(&q->mutex, nullptr) == 0;
  const bool cond = sync && pthread_cond_init(&q->cond, nullptr) == 0;
  q->gz = gz;
  if (q->data == nullptr || !cond || !gzpipe_start(q)) {
    if (cond) pthread_cond_destroy(&q->cond);
    if (sync) pthread_mutex_destroy(&q->mutex);
    VLR_sysenv_freedbg(sys, VLR_HERE, q->data);
    VLR_sysenv_freedbg(sys, VLR_HERE, q);
    return nullptr;
  }
  return q;
}

// The next piece from the pipe: kSysOk with at least one byte, kSysEndOfFile, or kSysReadFailed.
int32_t gzpipe_next(SysFile* f) {
  GzPipe* q = f->pipe;
  pthread_mutex_lock(&q->mutex);
  if (q->holding) {
    ++q->released;
    q->holding = false;
    pthread_cond_broadcast(&q->cond);
  }
  while (q->filled == q->released && !q->done)
    pthread_cond_wait(&q->cond, &q->mutex);
  int32_t r = kSysOk;
  if (q->filled > q->released) {
    const auto slot = static_cast<size_t>(q->released % kPipeSlots);
    q->holding = true;
    f->data = q->data + slot * kPipeSlotSize;
    f->len = q->len[slot];
  } else {
    r = q->failed ? kSysReadFailed : kSysEndOfFile;
  }
  pthread_mutex_unlock(&q->mutex);
  return r;
}

// Refills the buffer: kSysOk with at least one byte, kSysEndOfFile, or kSysReadFailed.
int32_t sysenv_fillbuffer(SysFile* f) {
  f->pos = f->len = 0;
  f->data = f->buf;
  if (f->error != kSysOk) return f->error;
  if (f->eof) return kSysEndOfFile;
  if (f->pipe != nullptr) {
    const int32_t r = gzpipe_next(f);
    if (r == kSysReadFailed) f->error = r;
    if (r == kSysEndOfFile) f->eof = true;
    return r;
  }
  if (f->gz != nullptr) {
    const int got = gzread(f->gz, f->buf, static_cast<unsigned>(kFileBufSize));
    int errnum = Z_OK;
    gzerror(f->gz, &errnum);
    if (got > 0) {
      f->len = static_cast<size_t>(got);
      return kSysOk;
    }
    // A stream cut short ends in Z_BUF_ERROR rather than a clean end of file: the data read so far
    // has been delivered, and the cut is reported now instead of being taken for the end.
    if (got < 0 || (errnum != Z_OK && errnum != Z_STREAM_END)) {
      f->error = kSysReadFailed;
      return f->error;
    }
  } else {
    const size_t got = std::fread(f->buf, 1, kFileBufSize, f->fp);
    if (got > 0) {
      f->len = got;
      return kSysOk;
    }
    if (std::ferror(f->fp)) {
      f->error = kSysReadFailed;
      return f->error;
    }
  }
  f->eof = true;
  return kSysEndOfFile;
}

// Reads the first bytes without moving the descriptor; a pipe or a short file is not gzip.
bool starts_with_gzip_magic(int fd) {
  unsigned char magic[2];
  return pread(fd, magic, 2, 0) == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
}

// Open flags and stdio or zlib mode of one request; false when the request makes no sense.
bool open_modes(int32_t read, int32_t write, int32_t append, int32_t compressed, int32_t level,
                int* flags, char* mode) {
  if (read && (write || append)) return false;
  if (!read && !write && !append) return false;
  char* m = mode;
  if (read) {
    *flags = O_RDONLY;
    *m++ = 'r';
  } else if (append) {
    *flags = O_WRONLY | O_CREAT | O_APPEND;
    *m++ = 'a';
  } else {
    *flags = O_WRONLY | O_CREAT | O_TRUNC;
    *m++ = 'w';
  }
  *m++ = 'b';
  if (compressed && !read && level >= 0) *m++ = static_cast<char>('0' + (level > 9 ? 9 : level));
  *m = '\0';
  return true;
}

}  // namespace

// Paths are passed to the system as they are: on this platform a name is bytes, and UTF-8 names
// reach the file system unchanged.
SysFile* VLR_sysenv_fopen(SysEnv* sys, const char* path, int32_t binary, int32_t read,
                          int32_t write, int32_t append, int32_t compressed, int32_t level,
                          int32_t* code) {
  (void)binary;  // POSIX makes no difference between text and binary files
  if (path == nullptr || path[0] == '\0') {
    *code = kSysInvalidFileName;
    return nullptr;
  }
  int flags = 0;
  char mode[8];
  if (!open_modes(read, write, append, compressed, level, &flags, mode)) {
    *code = kSysOpenFailed;
    return nullptr;
  }
  auto* f = static_cast<SysFile*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(SysFile)));
  char* name = VLR_sysenv_strdupdbg(sys, VLR_HERE, path);
  if (f == nullptr || name == nullptr) {
    VLR_sysenv_freedbg(sys, VLR_HERE, name);
    VLR_sysenv_freedbg(sys, VLR_HERE, f);
    *code = kSysNoSpace;
    return nullptr;
  }
  f->sys = sys;
  f->path = name;
  f->reading = read != 0;
  const int fd = open(path, flags | O_CLOEXEC, 0600);
  if (fd >= 0) {
    // Reading goes through gzip when asked to or when the data says so; zlib passes plain bytes
    // through, so a plain file under a .gz name still reads.
    const bool packed = read && starts_with_gzip_magic(fd);
    if (compressed || packed) {
      f->gz = gzdopen(fd, mode);
      if (f->gz != nullptr && packed) f->pipe = gzpipe_make(sys, f->gz, fd);
    } else {
      f->fp = fdopen(fd, mode);
    }
    if (f->gz == nullptr && f->fp == nullptr) close(fd);
  }
  if (f->gz == nullptr && f->fp == nullptr) {
    VLR_sysenv_freedbg(sys, VLR_HERE, name);
    VLR_sysenv_freedbg(sys, VLR_HERE, f);
    *code = kSysOpenFailed;
    return nullptr;
  }
  f->data = f->buf;
  *code = kSysOk;
  return f;
}

SysFile* VLR_sysenv_fopenreplace(SysEnv* sys, const char* path, int32_t compressed, int32_t level,
                                 int32_t* code) {
  if (path == nullptr || path[0] == '\0') {
    *code = kSysInvalidFileName;
    return nullptr;
  }
  struct stat st {};
  if (stat(path, &st) == 0 && S_ISDIR(st.st_mode)) {
    *code = kSysOpenFailed;
    return nullptr;
  }
  const size_t n = std::strlen(path);
  auto* f = static_cast<SysFile*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(SysFile)));
  char* target = VLR_sysenv_strdupdbg(sys, VLR_HERE, path);
  auto* temp =
      static_cast<char*>(VLR_sysenv_callocdbg(sys, VLR_HERE, static_cast<int64_t>(n) + 8, 1));
  if (f == nullptr || target == nullptr || temp == nullptr) {
    VLR_sysenv_freedbg(sys, VLR_HERE, temp);
    VLR_sysenv_freedbg(sys, VLR_HERE, target);
    VLR_sysenv_freedbg(sys, VLR_HERE, f);
    *code = kSysNoSpace;
    return nullptr;
  }
  // The new file lies beside the old one, so that the rename stays within one file system.
  std::memcpy(temp, path, n);
  std::memcpy(temp + n, ".XXXXXX", 8);
  const int fd = mkstemp(temp);
  char mode[8];
  int flags = 0;
  open_modes(0, 1, 0, compressed, level, &flags, mode);
  if (fd >= 0) {
    if (compressed) {
      f->gz = gzdopen(fd, mode);
    } else {
      f->fp = fdopen(fd, mode);
    }
    if (f->gz == nullptr && f->fp == nullptr) {
      close(fd);
      unlink(temp);
    }
  }
  if (f->gz == nullptr && f->fp == nullptr) {
    VLR_sysenv_freedbg(sys, VLR_HERE, temp);
    VLR_sysenv_freedbg(sys, VLR_HERE, target);
    VLR_sysenv_freedbg(sys, VLR_HERE, f);
    *code = kSysOpenFailed;
    return nullptr;
  }
  f->sys = sys;
  f->path = temp;
  f->target = target;
  *code = kSysOk;
  return f;
}

namespace {

// Closes and frees; a replacing file is renamed onto its target when keep is set and nothing
// failed, and removed otherwise.
int32_t sysenv_close(SysEnv* sys, SysFile** pf, bool keep) {
  SysFile* f = *pf;
  if (f == nullptr) return kSysOk;
  int32_t r = f->reading ? kSysOk : sysenv_writetofile(f);
  if (sys == nullptr) sys = f->sys;
  if (f->pipe != nullptr) {
    gzpipe_halt(f->pipe);
    gzpipe_free(sys, &f->pipe);
  }
  const bool closed = f->gz != nullptr ? gzclose(f->gz) == Z_OK : std::fclose(f->fp) == 0;
  // A failed close of a written file can mean lost data; of a read one, nothing.
  if (!closed && !f->reading && r == kSysOk) r = kSysWriteFailed;
  if (f->target != nullptr) {
    if (keep && r == kSysOk && rename(f->path, f->target) != 0) r = kSysWriteFailed;
    if (!keep || r != kSysOk) unlink(f->path);
  }
  VLR_sysenv_freedbg(sys, VLR_HERE, f->path);
  VLR_sysenv_freedbg(sys, VLR_HERE, f->target);
  VLR_sysenv_freedbg(sys, VLR_HERE, f);
  *pf = nullptr;
  return r;
}

}  // namespace

int32_t VLR_sysenv_fclose(SysEnv* sys, SysFile** pf) {
  return sysenv_close(sys, pf, true);
}

void VLR_sysenv_fdiscard(SysEnv* sys, SysFile** pf) {
  sysenv_close(sys, pf, false);
}

int32_t VLR_sysenv_fflush(SysFile* f) {
  if (f->reading) return kSysOk;
  const int32_t r = sysenv_writetofile(f);
  if (r != kSysOk) return r;
  const bool ok = f->gz != nullptr ? gzflush(f->gz, Z_SYNC_FLUSH) == Z_OK : std::fflush(f->fp) == 0;
  if (!ok) f->error = kSysWriteFailed;
  return f->error;
}

int32_t VLR_sysenv_frewind(SysFile* f) {
  if (!f->reading) {
    // A gzip stream cannot be rewound for writing; a plain file starts over after its buffer.
    if (f->gz != nullptr) return kSysWriteFailed;
    const int32_t r = sysenv_writetofile(f);
    if (r != kSysOk) return r;
    return std::fseek(f->fp, 0, SEEK_SET) == 0 ? kSysOk : kSysWriteFailed;
  }
  f->pos = f->len = 0;
  f->data = f->buf;
  f->eof = false;
  f->error = kSysOk;
  if (f->pipe != nullptr) gzpipe_halt(f->pipe);
  const bool ok = f->gz != nullptr ? gzrewind(f->gz) == 0 : std::fseek(f->fp, 0, SEEK_SET) == 0;
  // Without a thread for the second reading the caller's thread unpacks.
  if (f->pipe != nullptr && !gzpipe_start(f->pipe)) gzpipe_free(f->sys, &f->pipe);
  if (!ok) f->error = kSysReadFailed;
  return f->error;
}

int32_t VLR_sysenv_fwrite(SysFile* f, const void* data, size_t n) {
  if (f->reading) return kSysWriteFailed;
  const auto* p = static_cast<const char*>(data);
  while (n > 0) {
    if (f->len == kFileBufSize) {
      const int32_t r = sysenv_writetofile(f);
      if (r != kSysOk) return r;
    }
    const size_t take = n < kFileBufSize - f->len ? n : kFileBufSize - f->len;
    std::memcpy(f->buf + f->len, p, take);
    f->len += take;
    p += take;
    n -= take;
  }
  return f->error;
}

int32_t VLR_sysenv_fputss(SysFile* f, const char* s, size_t n) {
  return VLR_sysenv_fwrite(f, s, n);
}

int32_t VLR_sysenv_fputs(SysFile* f, const char* s) {
  return VLR_sysenv_fwrite(f, s, std::strlen(s));
}

int32_t VLR_sysenv_fputc(SysFile* f, int c) {
  const char ch = static_cast<char>(c);
  return VLR_sysenv_fwrite(f, &ch, 1);
}

int32_t VLR_sysenv_vfprintf(SysFile* f, const char* format, va_list ap) {
  if (f->reading) return kSysWriteFailed;
  // Format straight into the buffer when the text fits in what is left of it.
  va_list ap2;
  va_copy(ap2, ap);
  const size_t room = kFileBufSize - f->len;
  const int n = std::vsnprintf(f->buf + f->len, room, format, ap2);
  va_end(ap2);
  if (n < 0) return kSysWriteFailed;
  const size_t need = static_cast<size_t>(n);
  if (need < room) {
    f->len += need;
    return f->error;
  }
  const int32_t r = sysenv_writetofile(f);
  if (r != kSysOk) return r;
  if (need < kFileBufSize) {
    va_copy(ap2, ap);
    std::vsnprintf(f->buf, kFileBufSize, format, ap2);
    va_end(ap2);
    f->len = need;
    return f->error;
  }
  // Longer than the whole buffer: format apart and pass it through.
  SysBuf<char> text(f->sys, VLR_HERE, static_cast<int64_t>(need) + 1);
  if (!text) return kSysNoSpace;
  va_copy(ap2, ap);
  std::vsnprintf(text.get(), need + 1, format, ap2);
  va_end(ap2);
  return VLR_sysenv_fwrite(f, text.get(), need);
}

int32_t VLR_sysenv_fprintf(SysFile* f, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  const int32_t r = VLR_sysenv_vfprintf(f, format, ap);
  va_end(ap);
  return r;
}

int32_t VLR_sysenv_fread(SysFile* f, void* data, size_t n, size_t* got) {
  auto* p = static_cast<char*>(data);
  size_t done = 0;
  int32_t r = kSysOk;
  if (!f->reading) r = kSysReadFailed;
  while (r == kSysOk && done < n) {
    if (f->pos == f->len) {
      r = sysenv_fillbuffer(f);
      if (r != kSysOk) break;
    }
    const size_t take = n - done < f->len - f->pos ? n - done : f->len - f->pos;
    std::memcpy(p + done, f->data + f->pos, take);
    f->pos += take;
    done += take;
  }
  if (got != nullptr) *got = done;
  if (r == kSysEndOfFile && done > 0) r = kSysOk;  // the end is reported by the next call
  return r;
}

int32_t VLR_sysenv_fgets(SysFile* f, char* buf, size_t size, size_t* len) {
  size_t done = 0;
  int32_t r = kSysOk;
  if (!f->reading) r = kSysReadFailed;
  if (size == 0) r = kSysReadFailed;
  bool newline = false;
  // A line may span many refills: only the caller's size limits it.
  while (r == kSysOk && !newline && done + 1 < size) {
    if (f->pos == f->len) {
      r = sysenv_fillbuffer(f);
      if (r != kSysOk) break;
    }
    size_t take = f->len - f->pos;
    if (take > size - 1 - done) take = size - 1 - done;
    const void* nl = std::memchr(f->data + f->pos, '\n', take);
    if (nl != nullptr) {
      take = static_cast<size_t>(static_cast<const char*>(nl) - (f->data + f->pos)) + 1;
      newline = true;
    }
    std::memcpy(buf + done, f->data + f->pos, take);
    f->pos += take;
    done += take;
  }
  if (size > 0) buf[done] = '\0';
  if (len != nullptr) *len = done;
  if (r == kSysEndOfFile && done > 0) r = kSysOk;  // a last line without its newline
  return r;
}

const char* VLR_sysenv_fname(const SysFile* f) {
  return f->path;
}

}  // namespace vlr

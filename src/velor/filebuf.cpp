// src/velor/filebuf.cpp: the block chain behind the token readers, its look-ahead cursors, and
// the growing texts of names and numbers.
// SPDX-License-Identifier: Apache-2.0
#include "velor/filebuf.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace vlr {

namespace {

// Pulls one more block from the reader behind the last one: 1 when bytes came, 0 at the end of
// the input, -1 when the reader failed, -2 when no block could be had. Either failure ends the
// input for good.
int32_t fb_fill(FileBuffer* fb) {
  if (fb->drained || fb->failed) return fb->failed ? -1 : 0;
  auto* blk = static_cast<FileBufferBlock*>(
      VLR_sysenv_callocdbg(fb->sys, VLR_HERE, 1, sizeof(FileBufferBlock)));
  if (blk == nullptr) {
    fb->failed = 1;
    return -2;
  }
  const int64_t n = fb->read(fb->arg, reinterpret_cast<char*>(blk->data), kFileBufferBlock);
  if (n <= 0 || n > kFileBufferBlock) {
    VLR_sysenv_freedbg(fb->sys, VLR_HERE, blk);
    if (n == 0) {
      fb->drained = 1;
      return 0;
    }
    fb->failed = 1;
    return -1;
  }
  blk->end = static_cast<int32_t>(n);
  if (fb->last == nullptr) {
    fb->first = fb->last = blk;
    fb->at = 0;
  } else {
    fb->last->next = blk;
    fb->last = blk;
  }
  return 1;
}

// Moves the read point onto a byte, dropping used-up blocks and pulling new ones: false at the
// end of the input.
bool fb_ready(FileBuffer* fb) {
  for (;;) {
    FileBufferBlock* blk = fb->first;
    if (blk != nullptr && fb->at < blk->end) return true;
    if (blk != nullptr && blk->next != nullptr) {
      fb->first = blk->next;
      fb->at = fb->first->beg;
      VLR_sysenv_freedbg(fb->sys, VLR_HERE, blk);
      continue;
    }
    if (fb_fill(fb) <= 0) return false;
  }
}

bool nb_allowed(const char* s, const char* set) {
  if (*s == '\0') return false;
  for (; *s != '\0'; ++s) {
    if (std::strchr(set, *s) == nullptr) return false;
  }
  return true;
}

}  // namespace

int32_t VLR_FileBuffer_new(SysEnv* sys, void* arg, FileBufferReadFunc read, FileBuffer* fb) {
  *fb = FileBuffer{};
  fb->sys = sys;
  fb->arg = arg;
  fb->read = read;
  fb->line = 1;
  fb->col = 1;
  const int32_t r = fb_fill(fb);
  if (r == -2) return kSysNoSpace;
  if (r <= 0) fb->eof = 1;
  return kSysOk;
}

void VLR_FileBuffer_delete(FileBuffer* fb) {
  if (fb == nullptr) return;
  while (fb->first != nullptr) {
    FileBufferBlock* next = fb->first->next;
    VLR_sysenv_freedbg(fb->sys, VLR_HERE, fb->first);
    fb->first = next;
  }
  fb->last = nullptr;
}

int32_t VLR_FileBuffer_getc(FileBuffer* fb) {
  if (!fb_ready(fb)) {
    fb->eof = 1;
    return -1;
  }
  const int32_t c = fb->first->data[fb->at++];
  ++fb->pos;
  if (c == '\n') {
    ++fb->line;
    fb->col = 1;
  }
  ++fb->col;  // a line feed is counted on its new line: the first byte of a line is column 2
  return c;
}

int32_t VLR_FileBuffer_putback(FileBuffer* fb, int32_t c) {
  if (c < 0 || c > 255) return kSysOk;
  if (fb->first == nullptr || fb->at == 0) {
    // No room in front of the read point: a fresh block before it, filled from its end.
    auto* blk = static_cast<FileBufferBlock*>(
        VLR_sysenv_callocdbg(fb->sys, VLR_HERE, 1, sizeof(FileBufferBlock)));
    if (blk == nullptr) return kSysNoSpace;
    blk->beg = blk->end = kFileBufferBlock;
    blk->next = fb->first;
    fb->first = blk;
    if (fb->last == nullptr) fb->last = blk;
    fb->at = kFileBufferBlock;
  }
  FileBufferBlock* blk = fb->first;
  blk->data[--fb->at] = static_cast<unsigned char>(c);
  if (fb->at < blk->beg) blk->beg = fb->at;
  fb->eof = 0;
  if (fb->pos > 0) --fb->pos;
  if (c == '\n') {
    if (fb->line > 1) --fb->line;
    fb->col = 1;
  } else if (fb->col > 1) {
    --fb->col;
  }
  return kSysOk;
}

int32_t VLR_FileBuffer_putbacks(FileBuffer* fb, const char* s) {
  for (size_t k = std::strlen(s); k-- > 0;) {
    const int32_t r = VLR_FileBuffer_putback(fb, static_cast<unsigned char>(s[k]));
    if (r != kSysOk) return r;
  }
  return kSysOk;
}

int32_t VLR_FileBuffer_peekahead(FileBuffer* fb) {
  return fb_ready(fb) ? fb->first->data[fb->at] : -1;
}

bool VLR_FileBuffer_matchahead(FileBuffer* fb, const char* s) {
  FileBufferCursor cur;
  VLR_FileBufferCursor_new(fb, &cur);
  for (; *s != '\0'; ++s) {
    if (VLR_FileBufferCursor_getc(&cur) != static_cast<unsigned char>(*s)) return false;
  }
  return true;
}

int64_t VLR_FileBuffer_skipahead(FileBuffer* fb, int64_t n) {
  int64_t k = 0;
  while (k < n && VLR_FileBuffer_getc(fb) >= 0)
    ++k;
  return k;
}

int32_t VLR_FileBuffer_skipto(FileBuffer* fb, int32_t c) {
  for (;;) {
    const int32_t got = VLR_FileBuffer_getc(fb);
    if (got < 0 || got == c) return got;
  }
}

void VLR_FileBufferCursor_new(FileBuffer* fb, FileBufferCursor* cur) {
  cur->fb = fb;
  VLR_FileBufferCursor_reset(cur);
}

int32_t VLR_FileBufferCursor_getc(FileBufferCursor* cur) {
  FileBuffer* fb = cur->fb;
  for (;;) {
    if (cur->blk == nullptr) {
      // The buffer had no block when the cursor was placed: start at whatever came since.
      if (fb->first == nullptr && fb_fill(fb) <= 0) return -1;
      cur->blk = fb->first;
      cur->at = fb->at;
    }
    if (cur->at < cur->blk->end) break;
    if (cur->blk->next == nullptr && fb_fill(fb) <= 0) return -1;
    cur->blk = cur->blk->next;
    cur->at = cur->blk->beg;
  }
  const int32_t c = cur->blk->data[cur->at++];
  ++cur->pos;
  cur->col = c == '\n' ? 2 : cur->col + 1;
  return c;
}

void VLR_FileBufferCursor_rewind(FileBufferCursor* cur) {
  cur->blk = cur->mblk;
  cur->at = cur->mat;
  cur->pos = cur->mpos;
  cur->col = cur->mcol;
}

void VLR_FileBufferCursor_reset(FileBufferCursor* cur) {
  const FileBuffer* fb = cur->fb;
  cur->blk = cur->mblk = fb->first;
  cur->at = cur->mat = fb->at;
  cur->pos = cur->mpos = fb->pos;
  cur->col = cur->mcol = fb->col;
}

void VLR_FileBufferCursor_set(FileBufferCursor* cur, const FileBufferCursor* from) {
  *cur = *from;
}

int64_t VLR_FileBufferCursor_getpos(const FileBufferCursor* cur) {
  return cur->pos;
}

int32_t VLR_FileBufferCursor_getcol(const FileBufferCursor* cur) {
  return cur->col;
}

bool VLR_FileBufferCursor_equals(const FileBufferCursor* a, const FileBufferCursor* b) {
  return a->fb == b->fb && a->pos == b->pos;
}

// ---- NameBuffer -------------------------------------------------------------------------------

int32_t VLR_NameBuffer_new(SysEnv* sys, NameBuffer* nb) {
  *nb = NameBuffer{};
  nb->sys = sys;
  nb->buf = static_cast<char*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 64, 1));
  if (nb->buf == nullptr) return kSysNoSpace;
  nb->cap = 64;
  return kSysOk;
}

void VLR_NameBuffer_delete(NameBuffer* nb) {
  if (nb == nullptr || nb->buf == nullptr) return;
  VLR_sysenv_freedbg(nb->sys, VLR_HERE, nb->buf);
  nb->buf = nullptr;
  nb->size = nb->cap = 0;
}

void VLR_NameBuffer_clear(NameBuffer* nb) {
  nb->size = 0;
  if (nb->buf != nullptr) nb->buf[0] = '\0';
}

int32_t VLR_NameBuffer_double_size(NameBuffer* nb) {
  const int64_t cap = nb->cap > 0 ? 2 * nb->cap : 64;
  auto* grown = static_cast<char*>(VLR_sysenv_reallocdbg(
      nb->sys, VLR_HERE, nb->buf, static_cast<size_t>(nb->cap), static_cast<size_t>(cap)));
  if (grown == nullptr) return kSysNoSpace;
  if (nb->cap == 0) grown[0] = '\0';
  nb->buf = grown;
  nb->cap = cap;
  return kSysOk;
}

int32_t VLR_NameBuffer_putc(NameBuffer* nb, int32_t c) {
  if (nb->size + 1 >= nb->cap) {
    const int32_t r = VLR_NameBuffer_double_size(nb);
    if (r != kSysOk) return r;
  }
  nb->buf[nb->size++] = static_cast<char>(c);
  nb->buf[nb->size] = '\0';
  return kSysOk;
}

int32_t VLR_NameBuffer_popc(NameBuffer* nb) {
  if (nb->size == 0) return -1;
  const int32_t c = static_cast<unsigned char>(nb->buf[--nb->size]);
  nb->buf[nb->size] = '\0';
  return c;
}

void VLR_NameBuffer_strip(NameBuffer* nb) {
  if (nb->size == 0) return;
  int64_t b = 0, e = nb->size;
  while (b < e && std::isspace(static_cast<unsigned char>(nb->buf[b])))
    ++b;
  while (e > b && std::isspace(static_cast<unsigned char>(nb->buf[e - 1])))
    --e;
  std::memmove(nb->buf, nb->buf + b, static_cast<size_t>(e - b));
  nb->size = e - b;
  nb->buf[nb->size] = '\0';
}

void VLR_NameBuffer_upper_case(NameBuffer* nb) {
  for (int64_t k = 0; k < nb->size; ++k)
    nb->buf[k] = static_cast<char>(std::toupper(static_cast<unsigned char>(nb->buf[k])));
}

void VLR_NameBuffer_lower_case(NameBuffer* nb) {
  for (int64_t k = 0; k < nb->size; ++k)
    nb->buf[k] = static_cast<char>(std::tolower(static_cast<unsigned char>(nb->buf[k])));
}

bool VLR_NameBuffer_is_int(const NameBuffer* nb) {
  const char* s = nb->buf != nullptr ? nb->buf : "";
  if (*s == '+' || *s == '-') ++s;
  return nb_allowed(s, "0123456789");
}

bool VLR_NameBuffer_to_longlong(const NameBuffer* nb, int64_t* value) {
  if (!VLR_NameBuffer_is_int(nb)) return false;
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(nb->buf, &end, 10);
  if (errno == ERANGE || *end != '\0') return false;
  *value = v;
  return true;
}

bool VLR_NameBuffer_to_int(const NameBuffer* nb, int32_t* value) {
  int64_t v = 0;
  if (!VLR_NameBuffer_to_longlong(nb, &v) || !VLR_sysenv_isint32(v)) return false;
  *value = static_cast<int32_t>(v);
  return true;
}

bool VLR_NameBuffer_to_double(const NameBuffer* nb, double* value) {
  // Decimal digits only: strtod would also take "inf", "nan", hexadecimal and leading blanks.
  if (nb->buf == nullptr || !nb_allowed(nb->buf, "0123456789+-.eE")) return false;
  char* end = nullptr;
  const double v = std::strtod(nb->buf, &end);
  if (*end != '\0' || end == nb->buf || !std::isfinite(v)) return false;
  *value = v;
  return true;
}

// ---- NameBufferStack --------------------------------------------------------------------------

void VLR_NameBufferStack_new(SysEnv* sys, NameBufferStack* st) {
  *st = NameBufferStack{};
  st->sys = sys;
}

void VLR_NameBufferStack_delete(NameBufferStack* st) {
  if (st == nullptr) return;
  for (int32_t k = 0; k < st->count; ++k) {
    VLR_NameBuffer_delete(st->free[k]);
    VLR_sysenv_freedbg(st->sys, VLR_HERE, st->free[k]);
  }
  VLR_sysenv_freedbg(st->sys, VLR_HERE, st->free);
  st->free = nullptr;
  st->count = st->cap = 0;
}

NameBuffer* VLR_NameBufferStack_get(NameBufferStack* st) {
  if (st->count > 0) {
    NameBuffer* nb = st->free[--st->count];
    VLR_NameBuffer_clear(nb);
    return nb;
  }
  auto* nb =
      static_cast<NameBuffer*>(VLR_sysenv_callocdbg(st->sys, VLR_HERE, 1, sizeof(NameBuffer)));
  if (nb == nullptr) return nullptr;
  if (VLR_NameBuffer_new(st->sys, nb) != kSysOk) {
    VLR_sysenv_freedbg(st->sys, VLR_HERE, nb);
    return nullptr;
  }
  return nb;
}

void VLR_NameBufferStack_put(NameBufferStack* st, NameBuffer* nb) {
  if (nb == nullptr) return;
  if (st->count == st->cap) {
    const int32_t cap = st->cap > 0 ? 2 * st->cap : 8;
    auto* grown = static_cast<NameBuffer**>(VLR_sysenv_reallocdbg(
        st->sys, VLR_HERE, st->free, sizeof(NameBuffer*) * static_cast<size_t>(st->cap),
        sizeof(NameBuffer*) * static_cast<size_t>(cap)));
    if (grown == nullptr) {
      VLR_NameBuffer_delete(nb);
      VLR_sysenv_freedbg(st->sys, VLR_HERE, nb);
      return;
    }
    st->free = grown;
    st->cap = cap;
  }
  st->free[st->count++] = nb;
}

}  // namespace vlr

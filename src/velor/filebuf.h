// src/velor/filebuf.h: buffered text input of the token readers: a chain of blocks pulled from a
// read callback, with unlimited put-back, read-only look-ahead cursors, and growing token texts.
// Private to src/velor.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

constexpr int32_t kFileBufferBlock = 16384;  // bytes asked of the reader at a time

// Reads up to size bytes into buf: the count, 0 at the end of the input, -1 on a failure.
using FileBufferReadFunc = int64_t (*)(void* arg, char* buf, int64_t size);

struct FileBufferBlock {
  FileBufferBlock* next;
  int32_t beg, end;  // the bytes lie in data[beg, end); put-back fills from the front
  unsigned char data[kFileBufferBlock];
};

struct FileBuffer {
  SysEnv* sys;  // owner of the blocks
  void* arg;
  FileBufferReadFunc read;
  FileBufferBlock* first;  // holds the read point; the blocks before it are freed
  FileBufferBlock* last;   // the block filled last
  int32_t at;              // read point in first
  int64_t pos;             // bytes consumed
  int32_t line;            // from 1
  int32_t col;             // from 1; a line feed restarts it at 2 (kept for the reported positions)
  int32_t eof;             // 1 after a read that gave nothing; put-back clears it
  int32_t drained;         // 1 once the reader gave its last byte
  int32_t failed;          // 1 once the reader failed or a block could not be had
};

// Makes the buffer and reads the first block at once (none read sets eof). kSysOk or
// kSysNoSpace; on failure nothing is left. VLR_FileBuffer_delete accepts a null or partial buffer.
int32_t VLR_FileBuffer_new(SysEnv* sys, void* arg, FileBufferReadFunc read, FileBuffer* fb);
void VLR_FileBuffer_delete(FileBuffer* fb);
// The next byte (0..255), or -1 at the end of the input, after a failure, or when out of space
// (failed is then set too).
int32_t VLR_FileBuffer_getc(FileBuffer* fb);
// Pushes c (0..255) or the bytes of s in front of the input, so that s is read again in order.
// kSysOk or kSysNoSpace.
int32_t VLR_FileBuffer_putback(FileBuffer* fb, int32_t c);
int32_t VLR_FileBuffer_putbacks(FileBuffer* fb, const char* s);
// The next byte without consuming it, or -1.
int32_t VLR_FileBuffer_peekahead(FileBuffer* fb);
// Whether the input continues with s; nothing is consumed.
bool VLR_FileBuffer_matchahead(FileBuffer* fb, const char* s);
// Consumes n bytes (fewer at the end); the count consumed.
int64_t VLR_FileBuffer_skipahead(FileBuffer* fb, int64_t n);
// Consumes the input up to and with the first byte c: c, or -1 when the input ended first.
int32_t VLR_FileBuffer_skipto(FileBuffer* fb, int32_t c);

// A read-only position ahead of the read point. It stays valid until the buffer is read or put
// back into; then VLR_FileBufferCursor_reset puts it at the read point again.
struct FileBufferCursor {
  FileBuffer* fb;
  FileBufferBlock* blk;
  int32_t at;
  int64_t pos;  // absolute position, counted like the buffer's
  int32_t col;
  FileBufferBlock* mblk;  // the mark that rewind returns to
  int32_t mat, mcol;
  int64_t mpos;
};

// Makes a cursor at the buffer's read point, marked there.
void VLR_FileBufferCursor_new(FileBuffer* fb, FileBufferCursor* cur);
// The next byte ahead, pulling blocks from the reader as needed; -1 at the end.
int32_t VLR_FileBufferCursor_getc(FileBufferCursor* cur);
// Back to the mark; to the buffer's read point (mark moved there too); to another cursor's place.
void VLR_FileBufferCursor_rewind(FileBufferCursor* cur);
void VLR_FileBufferCursor_reset(FileBufferCursor* cur);
void VLR_FileBufferCursor_set(FileBufferCursor* cur, const FileBufferCursor* from);
int64_t VLR_FileBufferCursor_getpos(const FileBufferCursor* cur);
int32_t VLR_FileBufferCursor_getcol(const FileBufferCursor* cur);
bool VLR_FileBufferCursor_equals(const FileBufferCursor* a, const FileBufferCursor* b);

// A growing zero-ended byte string; the capacity doubles when full. The functions that grow it
// return kSysOk or kSysNoSpace, and leave the text as it was on failure.
struct NameBuffer {
  SysEnv* sys;
  char* buf;     // [cap]; buf[size] is 0
  int64_t size;  // bytes of text
  int64_t cap;
};

int32_t VLR_NameBuffer_new(SysEnv* sys, NameBuffer* nb);
void VLR_NameBuffer_delete(NameBuffer* nb);  // accepts a buffer never made
void VLR_NameBuffer_clear(NameBuffer* nb);
int32_t VLR_NameBuffer_putc(NameBuffer* nb, int32_t c);
int32_t VLR_NameBuffer_popc(NameBuffer* nb);  // the last byte, removed; -1 when empty
inline const char* VLR_NameBuffer_get(const NameBuffer* nb) {
  return nb->buf;
}
inline int64_t VLR_NameBuffer_size(const NameBuffer* nb) {
  return nb->size;
}
int32_t VLR_NameBuffer_double_size(NameBuffer* nb);
void VLR_NameBuffer_strip(NameBuffer* nb);  // white space off both ends
void VLR_NameBuffer_upper_case(NameBuffer* nb);
void VLR_NameBuffer_lower_case(NameBuffer* nb);
// Whole-text conversions: false for an empty text, trailing characters, overflow, and (for
// to_double) NaN or infinity, which never reach a task from a file.
bool VLR_NameBuffer_to_int(const NameBuffer* nb, int32_t* value);
bool VLR_NameBuffer_to_longlong(const NameBuffer* nb, int64_t* value);
bool VLR_NameBuffer_to_double(const NameBuffer* nb, double* value);
bool VLR_NameBuffer_is_int(const NameBuffer* nb);  // an optional sign and digits only

// A pool of name buffers lent out and given back, so that a parser reuses their space.
struct NameBufferStack {
  SysEnv* sys;
  NameBuffer** free;  // [cap] buffers given back
  int32_t count, cap;
};

void VLR_NameBufferStack_new(SysEnv* sys, NameBufferStack* st);
void VLR_NameBufferStack_delete(NameBufferStack* st);  // frees the buffers given back
// A cleared buffer, reused when one was given back; null when out of space.
NameBuffer* VLR_NameBufferStack_get(NameBufferStack* st);
// Takes nb back (null accepted); a buffer that cannot be kept is freed.
void VLR_NameBufferStack_put(NameBufferStack* st, NameBuffer* nb);

}  // namespace vlr

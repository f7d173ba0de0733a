// src/cpub/stream.h: the four text streams of an env or a task, delivered to functions and files
// in whole lines.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include "cpub/sysenv.h"

namespace vlr {

constexpr int32_t kNumStreams = 4;
constexpr size_t kStreamBufSize = 1024;

using StreamFunc = void (*)(void* handle, const char* text);

struct StreamSlot {
  SysFile* file;             // linked file or null; owned by the slot
  void* handle;              // user handle of func
  StreamFunc func;           // linked function or null
  char buf[kStreamBufSize];  // text not yet delivered
  size_t len;                // bytes in buf
};

struct StreamSet {
  SysEnv* sys;        // borrows (must outlive)
  char banner[1024];  // written to a linked file as " by %s"
  int32_t lockflag;   // stays 0: no stream takes a lock
  StreamSlot slots[kNumStreams];
};

// Makes a set of four unlinked streams; null when out of space.
StreamSet* VLR_streams_make(SysEnv* sys, const char* banner);
// Flushes and closes everything, then frees the set; accepts null.
void VLR_streams_delete(StreamSet** set);

// Appends text to one stream; whole lines are delivered at once, and a full buffer is delivered
// without cutting a UTF-8 character. Returns 0, or 1 when a file write failed.
int32_t VLR_stream_write(StreamSet* set, int32_t stream, const char* text, size_t n);
// Writes to the stream and, for any stream but the log (0), the same text to the log.
int32_t VLR_echostream(StreamSet* set, int32_t stream, const char* text);
// Formats with the stream format language (%s %d %i %u %l %I %L %U %e %f %g %p %% %ws, with
// widths); unknown specifiers are copied as they stand. Echoes to the log like VLR_echostream.
int32_t VLR_stream_formatva(StreamSet* set, int32_t stream, const char* format, va_list ap);
// Delivers what is buffered and flushes the linked file.
int32_t VLR_stream_flush(StreamSet* set, int32_t stream);

// Links a function (null unlinks); pending text goes to the old link first.
void VLR_stream_linkfunc(StreamSet* set, int32_t stream, void* handle, StreamFunc func);
// Takes the open file (null just closes the present one). The caller writes the open and close
// lines.
void VLR_stream_linkfile(StreamSet* set, int32_t stream, SysFile* file);
SysFile* VLR_stream_getfile(StreamSet* set, int32_t stream);

// UTF-8 and wide strings. Return 0, or 1 for invalid input. size is the output capacity in
// elements; *len gets the length of the result and *conv the input units converted.
int32_t VLR_UTF8toWChar(size_t size, size_t* len, size_t* conv, wchar_t* out, const char* in);
int32_t VLR_WCharToUTF8(size_t size, size_t* len, size_t* conv, char* out, const wchar_t* in);

}  // namespace vlr

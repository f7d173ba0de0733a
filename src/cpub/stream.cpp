// src/cpub/stream.cpp: stream buffers that deliver whole lines and whole UTF-8 characters.
// SPDX-License-Identifier: Apache-2.0
#include "cpub/stream.h"

#include <cinttypes>
#include <cstring>
#include <cwchar>

namespace vlr {

namespace {

// Takes buf[0..count) out of the buffer and hands it to the function and the file. When the text
// does not end a line, an incomplete UTF-8 character at its end is held back. Returns the bytes
// taken.
size_t stream_redirect(StreamSlot* slot, size_t count, bool whole) {
  size_t n = count;
  if (!whole && n > 0) {
    size_t k = n;
    while (k > 0 && (static_cast<unsigned char>(slot->buf[k - 1]) & 0xC0u) == 0x80u)
      --k;
    if (k > 0 && (static_cast<unsigned char>(slot->buf[k - 1]) & 0x80u) != 0) {
      const auto lead = static_cast<unsigned char>(slot->buf[k - 1]);
      const size_t need = lead >= 0xF0u ? 4 : lead >= 0xE0u ? 3 : lead >= 0xC0u ? 2 : 1;
      if (n - (k - 1) < need) n = k - 1;  // the last character is cut: keep it for later
    }
    if (n == 0) n = count;  // a buffer of one broken character goes out as it is
  }
  // The text leaves the buffer before anyone sees it: the function may write to this same stream
  // (an error it causes is echoed to the log), and that write must find a consistent buffer.
  char text[kStreamBufSize + 1];
  std::memcpy(text, slot->buf, n);
  text[n] = '\0';
  std::memmove(slot->buf, slot->buf + n, slot->len - n);
  slot->len -= n;
  if (slot->func != nullptr) slot->func(slot->handle, text);
  if (slot->file != nullptr) {
    VLR_sysenv_fputss(slot->file, text, n);
    VLR_sysenv_fflush(slot->file);
  }
  return n;
}

void stream_deliver(StreamSlot* slot, bool whole) {
  while (slot->len > 0) {
    stream_redirect(slot, slot->len, whole);
    if (!whole) break;
  }
}

bool stream_valid(int32_t stream) {
  return stream >= 0 && stream < kNumStreams;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
// Appends one formatted piece made by snprintf with the given conversion; the format is built
// here from the caller's flags and a conversion that matches T.
template <class T>
void stream_piece(StreamSet* set, int32_t stream, const char* spec, size_t speclen,
                  const char* conv, T value) {
  char fmt[64];
  if (speclen > 40) speclen = 40;
  std::memcpy(fmt, spec, speclen);  // '%' and the flags, width and precision
  std::snprintf(fmt + speclen, sizeof fmt - speclen, "%s", conv);
  char out[512];
  const int r = std::snprintf(out, sizeof out, fmt, value);
  if (r > 0) {
    const size_t m = static_cast<size_t>(r) < sizeof out ? static_cast<size_t>(r) : sizeof out - 1;
    VLR_stream_write(set, stream, out, m);
  }
}

#pragma GCC diagnostic pop

void stream_string(StreamSet* set, int32_t stream, const char* spec, size_t speclen,
                   const char* s) {
  if (s == nullptr) s = "(null)";
  if (speclen == 1) {
    VLR_stream_write(set, stream, s, std::strlen(s));  // long texts pass whole
    return;
  }
  stream_piece(set, stream, spec, speclen, "s", s);
}

}  // namespace

StreamSet* VLR_streams_make(SysEnv* sys, const char* banner) {
  auto* set = static_cast<StreamSet*>(VLR_sysenv_callocdbg(sys, VLR_HERE, 1, sizeof(StreamSet)));
  if (set == nullptr) return nullptr;
  set->sys = sys;
  if (banner != nullptr) std::snprintf(set->banner, sizeof set->banner, "%s", banner);
  return set;
}

void VLR_streams_delete(StreamSet** pset) {
  StreamSet* set = *pset;
  if (set == nullptr) return;
  for (int32_t s = 0; s < kNumStreams; ++s) {
    VLR_stream_flush(set, s);
    if (set->slots[s].file != nullptr) VLR_sysenv_fclose(set->sys, &set->slots[s].file);
  }
  VLR_sysenv_freedbg(set->sys, VLR_HERE, set);
  *pset = nullptr;
}

int32_t VLR_stream_write(StreamSet* set, int32_t stream, const char* text, size_t n) {
  if (!stream_valid(stream)) return 1;
  StreamSlot* slot = &set->slots[stream];
  if (slot->func == nullptr && slot->file == nullptr) return 0;  // unlinked: the text is dropped
  while (n > 0) {
    const char* nl = static_cast<const char*>(std::memchr(text, '\n', n));
    const size_t upto = nl != nullptr ? static_cast<size_t>(nl - text) + 1 : n;
    size_t done = 0;
    while (done < upto) {
      const size_t room = kStreamBufSize - slot->len;
      const size_t take = upto - done < room ? upto - done : room;
      std::memcpy(slot->buf + slot->len, text + done, take);
      slot->len += take;
      done += take;
      if (slot->len == kStreamBufSize && done < upto) stream_deliver(slot, false);
    }
    if (nl != nullptr) stream_deliver(slot, true);
    text += upto;
    n -= upto;
  }
  return 0;
}

int32_t VLR_echostream(StreamSet* set, int32_t stream, const char* text) {
  const size_t n = std::strlen(text);
  int32_t r = VLR_stream_write(set, stream, text, n);
  if (stream != 0 && stream_valid(stream)) r |= VLR_stream_write(set, 0, text, n);
  return r;
}

int32_t VLR_stream_formatva(StreamSet* set, int32_t stream, const char* format, va_list ap) {
  if (!stream_valid(stream)) return 1;
  const char* p = format;
  while (*p != '\0') {
    const char* pct = std::strchr(p, '%');
    if (pct == nullptr) {
      VLR_stream_write(set, stream, p, std::strlen(p));
      break;
    }
    if (pct > p) VLR_stream_write(set, stream, p, static_cast<size_t>(pct - p));
    const char* q = pct + 1;
    while (*q != '\0' && std::strchr("-+ #0123456789.", *q) != nullptr)
      ++q;
    const size_t speclen = static_cast<size_t>(q - pct);
    switch (*q) {
      case '%':
        VLR_stream_write(set, stream, "%", 1);
        break;
      case 's':
        stream_string(set, stream, pct, speclen, va_arg(ap, const char*));
        break;
      case 'd':
      case 'i':
        stream_piece(set, stream, pct, speclen, "d", va_arg(ap, int32_t));
        break;
      case 'u':
        stream_piece(set, stream, pct, speclen, "u", va_arg(ap, uint32_t));
        break;
      case 'l':
      case 'I':
        stream_piece(set, stream, pct, speclen, PRId64, va_arg(ap, int64_t));
        break;
      case 'L':
      case 'U':
        stream_piece(set, stream, pct, speclen, PRIu64, va_arg(ap, uint64_t));
        break;
      case 'e':
      case 'f':
      case 'g': {
        const char conv[2] = {*q, '\0'};
        stream_piece(set, stream, pct, speclen, conv, va_arg(ap, double));
        break;
      }
      case 'p':
        stream_piece(set, stream, pct, speclen, "p", va_arg(ap, void*));
        break;
      case 'w':
        if (q[1] == 's') {
          const wchar_t* w = va_arg(ap, const wchar_t*);
          char utf8[1024];
          size_t len = 0, conv = 0;
          if (w != nullptr && VLR_WCharToUTF8(sizeof utf8, &len, &conv, utf8, w) == 0) {
            stream_string(set, stream, pct, speclen, utf8);
          }
          ++q;
          break;
        }
        [[fallthrough]];
      default:  // an unknown specifier is copied as it stands
        VLR_stream_write(set, stream, pct, speclen + (*q != '\0' ? 1 : 0));
        break;
    }
    if (*q == '\0') break;
    p = q + 1;
  }
  return 0;
}

int32_t VLR_stream_flush(StreamSet* set, int32_t stream) {
  if (!stream_valid(stream)) return 1;
  StreamSlot* slot = &set->slots[stream];
  stream_deliver(slot, true);
  if (slot->file != nullptr) VLR_sysenv_fflush(slot->file);
  return 0;
}

void VLR_stream_linkfunc(StreamSet* set, int32_t stream, void* handle, StreamFunc func) {
  if (!stream_valid(stream)) return;
  VLR_stream_flush(set, stream);
  set->slots[stream].handle = handle;
  set->slots[stream].func = func;
}

void VLR_stream_linkfile(StreamSet* set, int32_t stream, SysFile* file) {
  if (!stream_valid(stream)) return;
  VLR_stream_flush(set, stream);
  StreamSlot* slot = &set->slots[stream];
  if (slot->file != nullptr) VLR_sysenv_fclose(set->sys, &slot->file);
  slot->file = file;
}

SysFile* VLR_stream_getfile(StreamSet* set, int32_t stream) {
  return stream_valid(stream) ? set->slots[stream].file : nullptr;
}

int32_t VLR_UTF8toWChar(size_t size, size_t* len, size_t* conv, wchar_t* out, const char* in) {
  size_t i = 0, k = 0;
  const auto* s = reinterpret_cast<const unsigned char*>(in);
  while (s[i] != 0 && k + 1 < size) {
    uint32_t c = s[i];
    size_t extra = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : 3;
    if (c >= 0x80 && ((c & 0xC0) == 0x80 || c >= 0xF8)) return 1;
    c &= extra == 0 ? 0x7Fu : extra == 1 ? 0x1Fu : extra == 2 ? 0x0Fu : 0x07u;
    for (size_t e = 1; e <= extra; ++e) {
      if ((s[i + e] & 0xC0) != 0x80) return 1;
      c = (c << 6) | (s[i + e] & 0x3Fu);
    }
    out[k++] = static_cast<wchar_t>(c);
    i += extra + 1;
  }
  if (size > 0) out[k] = L'\0';
  if (len != nullptr) *len = k;
  if (conv != nullptr) *conv = i;
  return 0;
}

int32_t VLR_WCharToUTF8(size_t size, size_t* len, size_t* conv, char* out, const wchar_t* in) {
  size_t i = 0, k = 0;
  while (in[i] != L'\0') {
    const auto c = static_cast<uint32_t>(in[i]);
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 1;
    const size_t need = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (k + need + 1 > size) break;
    if (need == 1) {
      out[k++] = static_cast<char>(c);
    } else {
      const uint32_t lead = need == 2 ? 0xC0u : need == 3 ? 0xE0u : 0xF0u;
      out[k++] = static_cast<char>(lead | (c >> (6 * (need - 1))));
      for (size_t e = need - 1; e > 0; --e) {
        out[k++] = static_cast<char>(0x80u | ((c >> (6 * (e - 1))) & 0x3Fu));
      }
    }
    ++i;
  }
  if (size > 0) out[k] = '\0';
  if (len != nullptr) *len = k;
  if (conv != nullptr) *conv = i;
  return 0;
}

}  // namespace vlr

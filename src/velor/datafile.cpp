// src/velor/datafile.cpp: the road between a task and a problem file: format and compression
// from the name or the parameters, the read statistics, generic names on write, and the
// solution file.
// SPDX-License-Identifier: Apache-2.0
#include "velor/datafile.h"

#include <cctype>
#include <cstring>

#include "velor/lpfile.h"
#include "velor/probdata.h"

namespace vlr {

const char* const kReadExtTable[] = {"mbt", "mps", "lp", "opf", "xml", "fmps", nullptr};
const int32_t kReadExtFormat[] = {
    VLR_DATA_FORMAT_MBT, VLR_DATA_FORMAT_MPS,      VLR_DATA_FORMAT_LP, VLR_DATA_FORMAT_OP,
    VLR_DATA_FORMAT_XML, VLR_DATA_FORMAT_FREE_MPS, VLR_DATA_FORMAT_MPS};
const char* const kWriteExtTable[] = {"mbt", "mps", "lp", "opf", "xml", nullptr};
const char* const kCompressExtTable[] = {"gz", nullptr};

namespace {

// The format each row of kWriteExtTable gives; a name that matches nothing is written as MPS.
const int32_t kWriteExtFormat[] = {VLR_DATA_FORMAT_MBT, VLR_DATA_FORMAT_MPS, VLR_DATA_FORMAT_LP,
                                   VLR_DATA_FORMAT_OP,  VLR_DATA_FORMAT_XML, VLR_DATA_FORMAT_MPS};

bool df_logging(const Task* task) {
  return VLRP_getintparam(task, VLR_IPAR_LOG) >= 1 &&
         VLRP_getintparam(task, VLR_IPAR_LOG_FILE) >= 1;
}

bool df_extmatch(int32_t casesensitive, const char* text, const char* ext) {
  for (; *ext != '\0'; ++text, ++ext) {
    if (*text == '\0') return false;
    const bool same = casesensitive ? *text == *ext
                                    : std::toupper(static_cast<unsigned char>(*text)) ==
                                          std::toupper(static_cast<unsigned char>(*ext));
    if (!same) return false;
  }
  return *text == '\0' || *text == '.';
}

bool df_isgz(const char* name) {
  int32_t gz = 0;
  VLR_lastfileext(0, kCompressExtTable, name, &gz);
  return gz == 0;
}

// Readers and writers of the formats; a null entry is a format this build cannot handle.
int32_t df_readmps(Task* task, SysFile* file) {
  return VLR_readmps(task, VLRP_getintparam(task, VLR_IPAR_READ_MPS_FORMAT), file);
}
int32_t df_readfreemps(Task* task, SysFile* file) {
  return VLR_readmps(task, VLR_MPS_FORMAT_FREE, file);
}
using ReadFunc = int32_t (*)(Task*, SysFile*);
using WriteFunc = int32_t (*)(Task*, int32_t generic, SysFile*);
ReadFunc df_reader(int32_t format) {
  switch (format) {
    case VLR_DATA_FORMAT_MPS:
      return df_readmps;
    case VLR_DATA_FORMAT_FREE_MPS:
      return df_readfreemps;
    case VLR_DATA_FORMAT_LP:
      return VLR_readlpfile;
    default:
      return nullptr;  // MBT, OPF: no reader yet; XML is never read
  }
}
WriteFunc df_writer(int32_t format) {
  switch (format) {
    case VLR_DATA_FORMAT_LP:
      return VLR_writelpfile;
    case VLR_DATA_FORMAT_MBT:
    case VLR_DATA_FORMAT_OP:
    case VLR_DATA_FORMAT_XML:
      return nullptr;
    default:
      return VLR_writemps;
  }
}

void df_publish(Task* task) {
  const TaskData* d = task->data;
  int64_t numanz = 0;
  VLR_sprmat_getsize(d->a, &numanz);
  int32_t numq = d->qobje > d->qobjb ? 1 : 0;
  for (int32_t i = 0; d->qconb != nullptr && i < d->numcon; ++i)
    numq += d->qcone[i] > d->qconb[i] ? 1 : 0;
  VLRP_putintinf(task, VLR_IINF_RD_NUMCON, d->numcon);
  VLRP_putintinf(task, VLR_IINF_RD_NUMVAR, d->numvar);
  VLRP_putintinf(task, VLR_IINF_RD_NUMCONE, d->numcone);
  VLRP_putintinf(task, VLR_IINF_RD_NUMINTVAR, d->numintvar);
  VLRP_putlintinf(task, VLR_LIINF_RD_NUMANZ, numanz);
  VLRP_putlintinf(task, VLR_LIINF_RD_NUMQNZ, VLR_qused(d));
  VLRP_putintinf(task, VLR_IINF_RD_NUMQ, numq);
  VLRP_putintinf(task, VLR_IINF_RD_PROTYPE, VLRP_getprobtype(task));
}

// Generic names are used when asked for, or when some name is empty (for MPS also the objective's).
int32_t df_generic(Task* task, int32_t format, int32_t* generic) {
  *generic = VLRP_getintparam(task, VLR_IPAR_WRITE_GENERIC_NAMES);
  if (*generic != 0) return VLR_RES_OK;
  const TaskData* d = task->data;
  bool empty = false;
  const int32_t count[3] = {d->numvar, d->numcon, d->numcone};
  for (int32_t w = 0; w < 3 && !empty; ++w) {
    for (int32_t i = 0; i < count[w] && !empty; ++i)
      empty = d->names[w].off == nullptr || d->names[w].off[i] == 0;
  }
  if (format == VLR_DATA_FORMAT_MPS && (d->objname == nullptr || d->objname[0] == '\0')) {
    empty = true;
  }
  if (!empty) return VLR_RES_OK;
  *generic = 1;
  return VLR_RAISE(task, VLR_RES_WRN_USING_GENERIC_NAMES);
}

}  // namespace

void VLR_lastfileext(int32_t casesensitive, const char* const* table, const char* name,
                     int32_t* index) {
  int32_t rows = 0;
  while (table[rows] != nullptr)
    ++rows;
  *index = rows;
  if (name == nullptr || name[0] == '\0') return;
  // The rightmost dot with a match wins, so "model.mps.gz" is "mps" and "model.lp.old" is "lp".
  for (size_t p = std::strlen(name); p-- > 0;) {
    if (name[p] != '.') continue;
    for (int32_t r = 0; r < rows; ++r) {
      if (df_extmatch(casesensitive, name + p + 1, table[r])) {
        *index = r;
        return;
      }
    }
  }
}

int32_t VLR_replacefileext(SysEnv* sys, const char* name, const char* ext, char** out) {
  size_t keep = std::strlen(name);
  const char* sep = ".";
  for (size_t p = keep; p-- > 0 && name[p] != '/';) {
    if (name[p] == '.') {
      keep = p;
      break;
    }
  }
  const size_t n = keep + 1 + std::strlen(ext) + 1;
  *out = static_cast<char*>(VLR_sysenv_callocdbg(sys, VLR_HERE, static_cast<int64_t>(n), 1));
  if (*out == nullptr) return kSysNoSpace;
  std::memcpy(*out, name, keep);
  std::strcpy(*out + keep, sep);
  std::strcat(*out, ext);
  return kSysOk;
}

int32_t VLR_readdatafile(Task* task, SysFile* file, int32_t format) {
  const double start = VLR_sysenv_getwctime(task->sys);
  if (format == VLR_DATA_FORMAT_EXTENSION) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_FORMAT_TYPE, format);
  }
  // The earlier problem goes whatever happens next.
  int32_t r = VLR_resizetask64(VLR_taskhandle(task), 0, 0, 0, 0, 0);
  if (r != VLR_RES_OK) return r;
  VLR_sysenv_freedbg(task->sys, VLR_HERE, task->name);
  task->name = nullptr;
  const ReadFunc reader = df_reader(format);
  r = reader != nullptr ? reader(task, file) : VLR_RAISE(task, VLR_RES_ERR_READ_FORMAT, format);
  VLRP_putdouinf(task, VLR_DINF_RD_TIME, VLR_sysenv_diffwctime(task->sys, -1.0, start));
  if (r == VLR_RES_OK) df_publish(task);
  return r;
}

int32_t VLR_writedatafile(Task* task, SysFile* file, int32_t format) {
  const double start = VLR_sysenv_getwctime(task->sys);
  int32_t generic = 0;
  if (format == VLR_DATA_FORMAT_MPS || format == VLR_DATA_FORMAT_LP ||
      format == VLR_DATA_FORMAT_OP || format == VLR_DATA_FORMAT_XML) {
    const int32_t r = df_generic(task, format, &generic);
    if (r != VLR_RES_OK) return r;
  }
  if (df_logging(task)) VLRP_echotask(task, VLR_STREAM_LOG, "Start writing.\n");
  if (format == VLR_DATA_FORMAT_EXTENSION) {
    return VLR_RAISE(task, VLR_RES_ERR_INVALID_FORMAT_TYPE, format);
  }
  const WriteFunc writer = df_writer(format);
  if (writer == nullptr) return VLR_RAISE(task, VLR_RES_ERR_INVALID_FORMAT_TYPE, format);
  const int32_t r = writer(task, generic, file);
  if (df_logging(task)) {
    VLRP_echotask(task, VLR_STREAM_LOG, "done writing. Time: %.2f\n\n",
                  VLR_sysenv_diffwctime(task->sys, -1.0, start));
  }
  return r;
}

}  // namespace vlr

int32_t VLR_readdata(VLRtask_t task, const char* filename) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PUTPROLOGUE(task);
    const char* given = filename != nullptr && filename[0] != '\0'
                            ? filename
                            : vlr::VLRP_getstrparam(t, VLR_SPAR_DATA_FILE_NAME);
    vlr::SysBuf<char> name(t->sys, VLR_HERE, static_cast<int64_t>(std::strlen(given)) + 1);
    if (!name) return VLR_RES_ERR_SPACE;
    std::strcpy(name.get(), given);
    int32_t format = vlr::VLRP_getintparam(t, VLR_IPAR_READ_DATA_FORMAT);
    if (format == VLR_DATA_FORMAT_EXTENSION) {
      int32_t row = 0;
      vlr::VLR_lastfileext(0, vlr::kReadExtTable, name.get(), &row);
      format = vlr::kReadExtFormat[row];
    }
    // The binary task file is always gzip; any other file is when its name says so.
    const int32_t compressed = format == VLR_DATA_FORMAT_MBT || vlr::df_isgz(name.get()) ? 1 : 0;
    int32_t r = VLR_RES_OK;
    vlr::SysFile* f = vlr::VLR_fopentask(t, name.get(), 1, 0, 0, compressed, &r);
    if (f == nullptr) return r;
    r = vlr::VLR_readdatafile(t, f, format);
    vlr::VLR_sysenv_fclose(t->sys, &f);
    return r;
  });
}

int32_t VLR_writedata(VLRtask_t task, const char* filename) {
  return vlr::api_guard([&]() -> int32_t {
    VLR_PROLOGUE(task);
    const char* given = filename != nullptr && filename[0] != '\0'
                            ? filename
                            : vlr::VLRP_getstrparam(t, VLR_SPAR_DATA_FILE_NAME);
    if (given[0] == '\0') return VLR_RAISE(t, VLR_RES_ERR_FILE_OPEN, given);
    int32_t format = vlr::VLRP_getintparam(t, VLR_IPAR_WRITE_DATA_FORMAT);
    if (format == VLR_DATA_FORMAT_EXTENSION) {
      int32_t row = 0;
      vlr::VLR_lastfileext(0, vlr::kWriteExtTable, given, &row);
      format = vlr::kWriteExtFormat[row];
    }
    // A compressed file always carries the suffix, the binary task file excepted.
    int32_t compressed = 1;
    char* name = nullptr;
    if (vlr::df_isgz(given) || format == VLR_DATA_FORMAT_MBT) {
      name = vlr::VLR_sysenv_strdupdbg(t->sys, VLR_HERE, given);
    } else if (vlr::VLRP_getintparam(t, VLR_IPAR_WRITE_DATA_COMPRESSED) >= 1) {
      vlr::VLR_sysenv_strconcat(t->sys, &name, given, ".gz");
    } else {
      compressed = 0;
      name = vlr::VLR_sysenv_strdupdbg(t->sys, VLR_HERE, given);
    }
    if (name == nullptr) return VLR_RAISE(t, VLR_RES_ERR_SPACE);
    int32_t r = VLR_RES_OK;
    vlr::SysFile* f = vlr::VLR_fopentaskreplace(t, name, compressed, &r);
    if (f != nullptr) {
      r = vlr::VLR_writedatafile(t, f, format);
      if (r != VLR_RES_OK) {
        vlr::VLR_sysenv_fdiscard(t->sys, &f);  // a refused write leaves the old file as it was
      } else if (vlr::VLR_sysenv_fclose(t->sys, &f) != vlr::kSysOk) {
        r = VLR_RAISE(t, VLR_RES_ERR_FILE_WRITE, name);
      }
    }
    vlr::VLR_sysenv_freedbg(t->sys, VLR_HERE, name);
    return r;
  });
}

// src/velor/msg.cpp: log guards, the message functions, file opening with its log line, the log
// head and the statistics file.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "velor/probdata.h"
#include "velor/tables.h"
#include "velor/task.h"

namespace vlr {

namespace {

// Writes one line of the statistics file for an item; CSV or XML.
void stat_item(SysFile* f, bool xml, const char* name, const char* key, const char* full,
               const char* kindprefix, const char* value) {
  // full is "VLR_DINF_X" or "VLR_DINF_PRIVATE_X": the file shows the kind prefix and the rest.
  const char* rest = std::strstr(full, kindprefix);
  rest = rest != nullptr ? rest + std::strlen(kindprefix) : full;
  if (xml) {
    VLR_sysenv_fprintf(f, "    <field name=\"VLR_%s%s\"> %s </field>\n", kindprefix, rest, value);
  } else {
    VLR_sysenv_fprintf(f, "%s,%s,VLR_%s%s,%s\n", name, key, kindprefix, rest, value);
  }
}

}  // namespace

int32_t VLR_getlang(const Env*, int32_t* language) {
  *language = VLR_LANG_ENG;
  return VLR_RES_OK;
}

int32_t VLR_getlogcut(const Task* task) {
  return task->num_optimize > 1 ? task->iparam[VLR_IPAR_LOG_CUT_SECOND_OPT] : 0;
}

bool VLR_dolog(const Task* task, int32_t level) {
  const int32_t master = task->iparam[VLR_IPAR_LOG];
  return (level < master ? level : master) > VLR_getlogcut(task);
}

int32_t VLR_tominor(int32_t level) {
  return level / 2;
}

void VLR_msg_openfile(Task* task, const char* name) {
  if (task->iparam[VLR_IPAR_LOG] >= 1 && task->iparam[VLR_IPAR_LOG_FILE] >= 1) {
    VLRP_echotask(task, VLR_STREAM_LOG, "Open file '%s'\n", name);
  }
}

void VLR_msg_log1(Task* task, int64_t stacksize_kb) {
  if (task->iparam[VLR_IPAR_LOG] >= 1 && task->iparam[VLR_IPAR_LOG_PRESOLVE] >= 1) {
    VLRP_echotask(task, VLR_STREAM_LOG, "Presolve   - Stk. size (kb) : %lld\n",
                  static_cast<long long>(stacksize_kb));
  }
}

SysFile* VLR_fopentask(Task* task, const char* name, int32_t read, int32_t write, int32_t append,
                       int32_t compressed, int32_t* res) {
  if (name == nullptr) {
    *res = VLR_RAISE(task, VLR_RES_ERR_INVALID_FILE_NAME, "");
    return nullptr;
  }
  VLR_msg_openfile(task, name);
  int32_t code = 0;
  SysFile* f = VLR_sysenv_fopen(task->sys, name, 0, read, write, append, compressed, 9, &code);
  if (f != nullptr) {
    *res = VLR_RES_OK;
  } else {
    *res = code == kSysNoSpace ? VLR_RAISE(task, VLR_RES_ERR_SPACE)
                               : VLR_RAISE(task, VLR_RES_ERR_FILE_OPEN, name);
  }
  return f;
}

SysFile* VLR_fopentaskreplace(Task* task, const char* name, int32_t compressed, int32_t* res) {
  if (name == nullptr) {
    *res = VLR_RAISE(task, VLR_RES_ERR_INVALID_FILE_NAME, "");
    return nullptr;
  }
  VLR_msg_openfile(task, name);
  int32_t code = 0;
  SysFile* f = VLR_sysenv_fopenreplace(task->sys, name, compressed, 9, &code);
  if (f != nullptr) {
    *res = VLR_RES_OK;
  } else {
    *res = code == kSysNoSpace ? VLR_RAISE(task, VLR_RES_ERR_SPACE)
                               : VLR_RAISE(task, VLR_RES_ERR_FILE_OPEN, name);
  }
  return f;
}

SysFile* VLR_fopenenv(Env* env, const char* name, int32_t read, int32_t write, int32_t append,
                      int32_t compressed, int32_t* res) {
  if (name == nullptr) {
    *res = VLR_RAISEENV(env, VLR_RES_ERR_INVALID_FILE_NAME, "");
    return nullptr;
  }
  int32_t code = 0;
  SysFile* f = VLR_sysenv_fopen(env->sys, name, 0, read, write, append, compressed, 9, &code);
  if (f != nullptr) {
    *res = VLR_RES_OK;
  } else {
    *res = code == kSysNoSpace ? VLR_RAISEENV(env, VLR_RES_ERR_SPACE)
                               : VLR_RAISEENV(env, VLR_RES_ERR_FILE_OPEN, name);
  }
  return f;
}

void VLR_loghead(Task* task, int32_t numcon, int32_t numvar, int32_t numintvar) {
  if (!VLR_dolog(task, task->iparam[VLR_IPAR_LOG_HEAD])) return;
  static const struct {
    int32_t type;
    const char* name;
  } cpus[] = {{VLR_CPU_GENERIC, "Generic"},
              {VLR_CPU_INTEL_P3, "Intel-P3"},
              {VLR_CPU_INTEL_P4, "Intel-P4"},
              {VLR_CPU_INTEL_PM, "Intel-PM"},
              {VLR_CPU_INTEL_ITANIUM2, "Intel-Itanium2"},
              {VLR_CPU_AMD_ATHLON, "AMD-Athlon"},
              {VLR_CPU_AMD_OPTERON, "AMD-Opteron"},
              {VLR_CPU_POWERPC_G5, "PowerPC-G5"},
              {VLR_CPU_HP_PARISC20, "HP-PARISC20"}};
  const char* cpu = "Unknown";
  for (const auto& c : cpus) {
    if (c.type == task->iinf[VLR_IINF_CPU_TYPE]) cpu = c.name;
  }
  char probtype[VLR_MAX_STR_LEN];
  VLR_probtypetostr(VLR_taskhandle(task), task->iinf[VLR_IINF_RD_PROTYPE], probtype);
  const int32_t sense = task->iparam[VLR_IPAR_OBJECTIVE_SENSE];
  const int32_t s = VLR_STREAM_LOG;
  VLRP_echotask(task, s, "\n%-24s: %-s\n", "Computer", "");
  VLRP_echotask(task, s, "  %-22s: %-s\n", "Platform", VLR_sysenv_getplfstr(5));
  VLRP_echotask(task, s, "  %-22s: %-s\n", "CPU type", cpu);
  VLRP_echotask(task, s, "\n%-24s\n", "Problem");
  VLRP_echotask(task, s, "  %-22s: %-s\n", "task name", task->name != nullptr ? task->name : "");
  VLRP_echotask(task, s, "  %-22s: %-s\n", "objective sense",
                sense == VLR_OBJECTIVE_SENSE_MAXIMIZE ? "max" : "min");
  VLRP_echotask(task, s, "  %-22s: %-s\n", "problem type", probtype);
  VLRP_echotask(task, s, "  %-22s: %-d\n", "constraints", numcon);
  VLRP_echotask(task, s, "  %-22s: %-d\n", "variables", numvar);
  VLRP_echotask(task, s, "  %-22s: %-d\n\n", "integer variables", numintvar);
}

void VLR_startstat(Task* task) {
  task->stat_start = VLR_sysenv_getwctime(task->sys);
}

void VLR_stopstat(Task* task) {
  task->stat_time = VLR_sysenv_getwctime(task->sys) - task->stat_start;
}

int32_t VLR_appendstat(Task* task) {
  const char* fname = task->sparam[VLR_SPAR_STAT_FILE_NAME];
  if (fname[0] == '\0') return VLR_RES_OK;
  const size_t n = std::strlen(fname);
  const bool xml = n >= 4 && std::strcmp(fname + n - 4, ".xml") == 0;
  int32_t r = VLR_RES_OK;
  SysFile* f = VLR_fopentask(task, fname, 0, 1, 1, 0, &r);
  if (f == nullptr) return r;
  const char* name = task->sparam[VLR_SPAR_STAT_NAME];
  const char* key = task->sparam[VLR_SPAR_STAT_KEY];
  if (xml) {
    VLR_sysenv_fprintf(f, "  <record name=\"%s\" key=\"%s\">\n", name, key);
    VLR_sysenv_fprintf(f, "    <field name=\"task_numcon\"> %d </field>\n",
                       task->data != nullptr ? task->data->numcon : 0);
  }
  char value[64];
  for (int32_t k = 0; k < kNumDouInf; ++k) {
    std::snprintf(value, sizeof value, "%-24.16e", task->dinf[k]);
    stat_item(f, xml, name, key, kDouInfNames[k], "DINF_", value);
  }
  for (int32_t k = 0; k < kNumPrivDouInf; ++k) {
    std::snprintf(value, sizeof value, "%-24.16e", task->pdinf[k]);
    stat_item(f, xml, name, key, kPrivDouInfNames[k], "DINF_PRIVATE_", value);
  }
  for (int32_t k = 0; k < kNumIntInf; ++k) {
    std::snprintf(value, sizeof value, "%d", task->iinf[k]);
    stat_item(f, xml, name, key, kIntInfNames[k], "IINF_", value);
  }
  for (int32_t k = 0; k < kNumLintInf; ++k) {
    std::snprintf(value, sizeof value, "%lld", static_cast<long long>(task->liinf[k]));
    stat_item(f, xml, name, key, kLintInfNames[k], "LIINF_", value);
  }
  if (xml) VLR_sysenv_fprintf(f, "  </record>\n");
  if (VLR_sysenv_fclose(task->sys, &f) != 0) return VLR_RAISE(task, VLR_RES_ERR_FILE_WRITE, fname);
  return VLR_RES_OK;
}

}  // namespace vlr

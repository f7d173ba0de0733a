// src/velor/lpfile.h: the LP format reader and writer, reached from the data file dispatch.
// Private to src/velor.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cpub/sysenv.h"
#include "velor/task.h"

namespace vlr {

// Token kinds of the LP tokenizer, in this order (kLpTokenNames holds their names).
enum LPTokenTypeEnum : int32_t {
  TOKEN_PLUS,
  TOKEN_MINUS,
  TOKEN_ASTERISK,
  TOKEN_HAT,
  TOKEN_EQ,
  TOKEN_LE,
  TOKEN_LEQ,
  TOKEN_GE,
  TOKEN_GEQ,
  TOKEN_COLON,
  TOKEN_LBRACKET,
  TOKEN_RBRACKET,
  TOKEN_DIVIDE,
  TOKEN_KW_BOUNDS,
  TOKEN_KW_SUCHTHAT,
  TOKEN_KW_INFINITY,
  TOKEN_KW_BINARY,
  TOKEN_KW_GENERAL,
  TOKEN_KW_MINIMIZE,
  TOKEN_KW_MAXIMIZE,
  TOKEN_KW_ALLOTHER,
  TOKEN_KW_END,
  TOKEN_LABEL,
  TOKEN_DCLABEL,
  TOKEN_STRING,
  TOKEN_QSTRING,
  TOKEN_INTEGER,
  TOKEN_FLOAT,
  TOKEN_ERROR,
  TOKEN_NA,  // the end of the input
};
extern const char* const LPTokenTypeEnum_str[TOKEN_NA + 1];

// The keyword a word is (compared without regard to case), or -1. "subj" and "subject" are
// TOKEN_KW_SUCHTHAT only before "to", which the tokenizer checks; here they give -1.
int32_t VLR_lpkeyword(const char* word);

// Reads an LP file into a task whose data was emptied: variables come into being at their first
// use with the bound 0 <= x. Syntax errors are VLR_RES_ERR_LP_FILE_FORMAT with line and column;
// a file without "end" VLR_RES_ERR_READ_LP_MISSING_END_TAG. The task keeps what was read before.
// A last variable "CFIX" fixed at 1 and used only in the objective, as the writer carries the
// constant objective term, becomes that constant again.
int32_t VLR_readlpfile(Task* task, SysFile* file);
// Writes the task in the LP format; generic non-zero writes "x1", "c1" and "obj" names unchecked.
int32_t VLR_writelpfile(Task* task, int32_t generic, SysFile* file);

}  // namespace vlr

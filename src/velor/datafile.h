// src/velor/datafile.h: data files: the dispatch by format and extension, the MPS line splitter,
// the MPS reader and writer. Private to src/velor.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "cpub/sysenv.h"
#include "velor/task.h"

namespace vlr {

// ---- Dispatch (datafile.cpp) ------------------------------------------------------------------

// Null-ended extension tables: reading ("mbt", "mps", "lp", "opf", "xml", "fmps"), writing (the
// same without "fmps") and compression ("gz").
extern const char* const kReadExtTable[];
extern const char* const kWriteExtTable[];
extern const char* const kCompressExtTable[];
// The format each row of kReadExtTable gives; one more entry for no match.
extern const int32_t kReadExtFormat[];

// The rightmost extension of name that is a row of table: "model.mps.gz" gives "mps" for the
// format table and "gz" for the compression table. *index is the row, or the row count when
// nothing matches. casesensitive 0 compares through an upper-case fold.
void VLR_lastfileext(int32_t casesensitive, const char* const* table, const char* name,
                     int32_t* index);
// *out (from sys) is name with everything after its last "." replaced by ext; a name without
// "." in its last path component gets "." and ext appended. kSysNoSpace or kSysOk.
int32_t VLR_replacefileext(SysEnv* sys, const char* name, const char* ext, char** out);
// Read or write an open file in a format (never VLR_DATA_FORMAT_EXTENSION). Reading replaces
// the task's whole problem and publishes the read statistics on success.
int32_t VLR_readdatafile(Task* task, SysFile* file, int32_t format);
int32_t VLR_writedatafile(Task* task, SysFile* file, int32_t format);

// ---- MPS line splitter (mpsline.cpp) -----------------------------------------------------------

// Result codes of the splitter; VLR_procmpsresp turns them into response codes.
enum RmCode : int32_t {
  kRmData = 0,        // a data line, split into fields
  kRmSection = 1,     // the line opens a section
  kRmReadError = 2,   // the line could not be read, or it is longer than the width
  kRmBadTitle = 3,    // a NAME line that does not begin with "NAME"
  kRmEmpty = 4,       // an empty line
  kRmBadField0 = 5,   // 5 + k: field k is malformed (a bad number, text in a gap)
  kRmTooMany = 11,    // more tokens than fields
  kRmTabField1 = 13,  // a tab inside field 1, 2 or 4 of a fixed-form line
  kRmTabField2 = 14,
  kRmTabField4 = 15,
  kRmEof = 16,
};

// Section numbers, in the order a file may give them.
enum MpsSection : int32_t {
  kSecName = 0,
  kSecObjsense = 1,
  kSecObjname = 2,
  kSecRows = 3,
  kSecColumns = 4,
  kSecRhs = 5,
  kSecRanges = 6,
  kSecBounds = 7,
  kSecSets = 8,
  kSecQuadobj = 9,
  kSecQsection = 10,
  kSecCsection = 11,
  kSecEndata = 12,
  kNumMpsSections = 13,
};
extern const char* const kMpsSectionNames[kNumMpsSections];

// Reads one line into buf[size]: its length, line end and carriage returns dropped, in *len.
// Returns kRmData, kRmEof when nothing was left, or kRmReadError.
using RmReadLineFunc = int32_t (*)(void* arg, char* buf, int32_t size, int32_t* len);

struct MpsLineReader;

// Makes a splitter for lines of at most width bytes in a form (VLR_MPS_FORMAT_...); null when
// out of space. VLR_rm_del accepts null.
MpsLineReader* VLR_rm_make(SysEnv* sys, int32_t format, int32_t quoted, int32_t width, void* arg,
                           RmReadLineFunc readline);
void VLR_rm_del(MpsLineReader** rm);
// Reads the next line that is not a comment and splits it for section sec: kRmData, kRmSection,
// kRmEmpty, kRmEof or an error code. The fields are then read with VLR_rm_field and
// VLR_rm_number; a head line of QSECTION or CSECTION is split as well.
int32_t VLR_rm_read(MpsLineReader* rm, int32_t sec);
// The section a head line opens, kRmData; or kRmBadField0 + 1 for an unknown keyword.
int32_t VLR_rm_checksechead(const MpsLineReader* rm, int32_t* sec);
// The problem name of a NAME line: the text after the first blank, left-trimmed.
int32_t VLR_rm_readtitle(const MpsLineReader* rm, const char** title);
// The text after the keyword of a head line, trimmed ("" for none).
const char* VLR_rm_headrest(MpsLineReader* rm);
const char* VLR_rm_field(const MpsLineReader* rm, int32_t k);
double VLR_rm_number(const MpsLineReader* rm, int32_t k);  // fields 3 and 5; 0 when empty
int32_t VLR_rm_getlinenumber(const MpsLineReader* rm);
const char* VLR_rm_getline(const MpsLineReader* rm);
// Whole-text number of a data file: "D" for "E", ".5" and "-.5", no NaN, infinity or overflow.
bool VLR_rm_strtonum(const char* text, double* value);

// ---- MPS reader and writer (mpsread.cpp, mpswrite.cpp) ------------------------------------------

// Reads an MPS file in a form into a task whose data was emptied, in two passes: the first counts,
// the second stores into exactly sized arrays.
int32_t VLR_readmps(Task* task, int32_t format, SysFile* file);
// Writes the task as fixed-column MPS; generic non-zero writes "x1", "c1", "k1" and "obj" names.
int32_t VLR_writemps(Task* task, int32_t generic, SysFile* file);
// Number text of the writers with prec digits: "0", "%e" outside (0.1, 100], else "%g", with the
// zeros at the end of the mantissa cut ("1.e+03").
void VLR_realtostr(double x, int32_t prec, char* buf, size_t size);

}  // namespace vlr

// src/velor/param.h: parameter access on a task record, shared by the parameter functions and the
// parameter file.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "velor/task.h"

namespace vlr {

// Put by index with the limit checks; an unchanged value is accepted without a check.
int32_t VLR_putintparamrec(Task* task, int32_t index, int32_t value);
int32_t VLR_putdouparamrec(Task* task, int32_t index, double value);
int32_t VLR_putstrparamrec(Task* task, int32_t index, const char* value);
// Sets a parameter from its name (trimmed) and its value as text; a symbolic name such as
// "VLR_ON" stands for its value.
int32_t VLR_putparamrec(Task* task, const char* name, const char* value);
// Finds name among the double, then integer, then string parameters; returns the type, 0 when
// not found.
int32_t VLR_whichparamrec(const char* name, int32_t* type, int32_t* index);
// Whole-text number parsers; false on anything but a number (and blanks around it).
bool VLR_strtointeger(const char* text, int32_t* value);
bool VLR_strtoreal(const char* text, double* value);
// Looks a symbolic constant up.
bool VLR_symboltovalue(const char* name, int32_t* value);

}  // namespace vlr

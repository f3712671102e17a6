// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef BOARD_INPUTDEVICE_H
#define BOARD_INPUTDEVICE_H

#include <string>

/// Opens the input device of this name for reading. Returns its descriptor, or -1 when there is none.
int openInputDevice(const std::string &name);

#endif

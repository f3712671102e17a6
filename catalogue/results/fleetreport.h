// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef FLEETREPORT_H
#define FLEETREPORT_H

#include "results/fleet.h"

#include <QByteArray>

/// For people: a line for each controller and step, then how many have what.
QByteArray fleetTable(const Fleet &fleet, const Reports &reports);
/// For spreadsheets, in UTF-8, as RFC 4180 has it, with a first line of names. What begins like a formula has
/// an apostrophe before it.
QByteArray fleetCsv(const Fleet &fleet);
/// For programs; docs/writing-catalogues.md describes the fields.
QByteArray fleetJson(const Fleet &fleet, const Reports &reports);

#endif

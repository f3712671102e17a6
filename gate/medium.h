// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef GATE_MEDIUM_H
#define GATE_MEDIUM_H

#include <string>

namespace gate
{

/// What is plugged in and can be mounted. The kernel's device, or in tests a folder that stands for one.
class Medium
{
public:
    virtual ~Medium() = default;

    /// Its name, as of the device: "sda1".
    virtual const std::string &name() const = 0;

    /// Mounts it at `directory` with these flags of mount(2), under `source` as the name that df shows; what
    /// is locked, read-only, whatever they say.
    virtual bool mountAt(const std::string &directory, unsigned long flags, const std::string &source,
                         std::string *error) const = 0;
};

} // namespace gate

#endif

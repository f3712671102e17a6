# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Which scenarios there are, in the order in which they are run."""

from collections.abc import Callable

from controller import Controller

Scenario = Callable[[Controller], None]

EVERYDAY: list[Scenario] = []
FULL: list[Scenario] = []


def scenario(where: list[Scenario]) -> Callable[[Scenario], Scenario]:
    def register(function: Scenario) -> Scenario:
        where.append(function)
        return function

    return register

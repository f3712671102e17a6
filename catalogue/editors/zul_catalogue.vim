" SPDX-FileCopyrightText: 2026 The zul_upgrade authors
" SPDX-License-Identifier: MIT
"
" :make checks the medium of the catalogue that is edited, and goes to the first finding.
let &l:makeprg = 'zul_catalogue check %:S'
let &l:errorformat = '%f:%l:%c: %trror: %m,%f:%l:%c: %tarning: %m,%f:%l:%c: %tote: %m,%-G%.%#'

// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT
//
// Nothing includes this: lupdate reads it. The question's buttons are Qt's own, and the tool loads one
// translation only, so that their texts have to be in it.

static const char *const qtTexts[] = {
    //: A button of the question. The letter behind & is its key, which must not be the one of &No.
    QT_TRANSLATE_NOOP("QPlatformTheme", "&Yes"),
    //: A button of the question. The letter behind & is its key, which must not be the one of &Yes.
    QT_TRANSLATE_NOOP("QPlatformTheme", "&No"),
};

// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#ifndef PRIVATEMEMBER_H
#define PRIVATEMEMBER_H

/// Defines a function that gives a private data member by reference, without a hook in the product code: the
/// arguments of an explicit instantiation are not subject to access control ([temp.spec]), so that it may
/// hand the member's place to a friend. Use, at namespace scope:
///
///     PRIVATE_MEMBER(Widget, QString, mountPath)   // then: mountPathOf(window) = "/media/sd"
// NOLINTBEGIN(bugprone-macro-parentheses): a type in parentheses is none
#define PRIVATE_MEMBER(Class, Type, member)                                                                  \
    static Type Class::*Class##_##member();                                                                  \
    template <Type Class::*Pointer>                                                                          \
    struct Access_##Class##_##member {                                                                       \
        friend Type Class::*Class##_##member()                                                               \
        {                                                                                                    \
            return Pointer;                                                                                  \
        }                                                                                                    \
    };                                                                                                       \
    template struct Access_##Class##_##member<&Class::member>;                                               \
    Type &member##Of(Class &object)                                                                          \
    {                                                                                                        \
        return object.*Class##_##member();                                                                   \
    }
// NOLINTEND(bugprone-macro-parentheses)

#endif

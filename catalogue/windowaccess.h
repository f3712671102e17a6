#ifndef WINDOWACCESS_H
#define WINDOWACCESS_H

#include "widget.h"

/// Reads what the window keeps to itself, without a hook in it: the arguments of an explicit instantiation
/// are not subject to access control. After `WINDOW_MEMBER(bool, endGame)`, `endGameOf(window)` is the
/// member.
#define WINDOW_MEMBER(Type, member)                                                                          \
    Type &member##Of(Widget &window);                                                                        \
    template <Type Widget::*Pointer>                                                                         \
    struct Access_##member {                                                                                 \
        friend Type &member##Of(Widget &window)                                                              \
        {                                                                                                    \
            return window.*Pointer;                                                                          \
        }                                                                                                    \
    };                                                                                                       \
    template struct Access_##member<&Widget::member>;

#endif

#ifndef MEMBERS_H
#define MEMBERS_H

/// Gives tests a private data member without a hook in the product code: the arguments of an explicit
/// instantiation are not subject to access control ([temp.spec]). Use, at namespace scope:
///
///     PRIVATE_MEMBER(Widget, QString, mountPath)   // then: mountPathOf(window) = "/media/sd"
#define PRIVATE_MEMBER(Class, Type, member)                                                                  \
    Type &member##Of(Class &object);                                                                         \
    template <Type Class::*Pointer>                                                                          \
    struct Class##_##member {                                                                                \
        friend Type &member##Of(Class &object)                                                               \
        {                                                                                                    \
            return object.*Pointer;                                                                          \
        }                                                                                                    \
    };                                                                                                       \
    template struct Class##_##member<&Class::member>;

#endif

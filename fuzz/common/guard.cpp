// SPDX-FileCopyrightText: 2026 The zul_upgrade authors
// SPDX-License-Identifier: MIT

#include "common/guard.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

#if defined(__x86_64__)
constexpr uint32_t architecture = AUDIT_ARCH_X86_64;
#elif defined(__i386__)
constexpr uint32_t architecture = AUDIT_ARCH_I386;
#elif defined(__aarch64__)
constexpr uint32_t architecture = AUDIT_ARCH_AARCH64;
#elif defined(__arm__)
constexpr uint32_t architecture = AUDIT_ARCH_ARM;
#else
#error "the guard does not know this processor's system calls"
#endif

/// Refused whatever the arguments are. Newer architectures lack the older ones of a family.
constexpr long refused[] = {
    SYS_execve,
    SYS_execveat,
    SYS_reboot,
    SYS_kexec_load,
    SYS_mount,
    SYS_umount2,
    SYS_pivot_root,
    SYS_chroot,
    SYS_setns,
    SYS_unshare,
    SYS_swapon,
    SYS_swapoff,
    SYS_init_module,
    SYS_delete_module,
    SYS_settimeofday,
    SYS_clock_settime,
    SYS_sethostname,
    SYS_tkill,
    SYS_rt_sigqueueinfo,
    SYS_rt_tgsigqueueinfo,
    SYS_unlinkat,
    SYS_renameat,
    SYS_renameat2,
    SYS_linkat,
    SYS_symlinkat,
    SYS_mknodat,
    SYS_fchmodat,
    SYS_fchownat,
    SYS_truncate,
#ifdef SYS_unlink
    SYS_unlink,
    SYS_rmdir,
    SYS_rename,
    SYS_link,
    SYS_symlink,
    SYS_mknod,
    SYS_chmod,
    SYS_chown,
    SYS_lchown,
#endif
#ifdef SYS_pidfd_send_signal
    SYS_pidfd_send_signal,
#endif
#ifdef SYS_move_mount
    SYS_move_mount,
#endif
};

/// Allowed to this process on itself: how abort() ends it.
constexpr long refusedToOthers[] = {SYS_kill, SYS_tgkill};

constexpr uint32_t numberAt = offsetof(seccomp_data, nr);
constexpr uint32_t architectureAt = offsetof(seccomp_data, arch);
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
constexpr uint32_t firstArgumentAt = offsetof(seccomp_data, args);
#else
constexpr uint32_t firstArgumentAt = offsetof(seccomp_data, args) + 4;
#endif
constexpr uint32_t refusal = SECCOMP_RET_ERRNO | 1; // EPERM

sock_filter load(uint32_t offset)
{
    return BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offset);
}

sock_filter give(uint32_t result)
{
    return BPF_STMT(BPF_RET | BPF_K, result);
}

/// Goes on after the next `skipped` instructions unless the loaded value is `value`.
sock_filter unlessEqual(uint32_t value, uint8_t skipped)
{
    return BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, skipped);
}

std::vector<sock_filter> filter()
{
    // A program of another architecture on this kernel has other numbers; none is to be started here.
    std::vector<sock_filter> code{load(architectureAt),
                                  BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, architecture, 1, 0), give(refusal),
                                  load(numberAt)};
#ifdef __x86_64__
    // The same calls under other numbers.
    code.insert(code.end(), {BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, 0x40000000, 0, 1), give(refusal)});
#endif
    for (const long number : refused)
        code.insert(code.end(), {unlessEqual(static_cast<uint32_t>(number), 1), give(refusal)});
    for (const long number : refusedToOthers) {
        code.insert(code.end(), {unlessEqual(static_cast<uint32_t>(number), 4), load(firstArgumentAt),
                                 unlessEqual(static_cast<uint32_t>(getpid()), 1), give(SECCOMP_RET_ALLOW),
                                 give(refusal)});
    }
    code.push_back(give(SECCOMP_RET_ALLOW));
    return code;
}

} // namespace

bool closeTheWayOut()
{
    std::vector<sock_filter> code = filter();
    const sock_fprog program{static_cast<unsigned short>(code.size()), code.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
           && syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program) == 0;
}

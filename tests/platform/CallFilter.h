#pragma once

#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace test
{

// What the system answers from now on to one call, and to all others, in this thread and those that it starts.
inline void filterCalls(unsigned call, unsigned answer, unsigned answerToOthers)
{
    sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1), BPF_STMT(BPF_RET | BPF_K, answer),
                          BPF_STMT(BPF_RET | BPF_K, answerToOthers)};
    const sock_fprog program{std::size(code), code};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        std::abort();
}

} // namespace test

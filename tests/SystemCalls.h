// SPDX-License-Identifier: MIT
#pragma once

#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// Whether `work` makes no system call. A child process runs it, which the kernel kills at any call but read, write and
// exit. Not under a sanitizer, because the calls of its runtime's threads cannot be told apart from those of `work`.
template <typename Work>
bool makesNoSystemCall(const Work& work) {
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
    work();
    syscall(SYS_exit, 0);
  }
  int status = -1;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

// SPDX-License-Identifier: MIT
// A plug-in of QEMU's user-mode emulators that counts what the emulated program does, exactly:
//
//   qemu-arm -plugin brumbler_counter.so,counters=COUNTERS brumbler_count COUNTERS
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "bench/count/Counters.h"
#include "bench/count/qemuPlugin.h"

namespace {

Counters* counters = nullptr;

void countAccess(unsigned /*processor*/, qemu_plugin_meminfo_t access, std::uint64_t /*address*/, void* /*data*/) {
  ++(qemu_plugin_mem_is_store(access) ? counters->stores : counters->loads);
}

// Every instruction of `code` adds to the counters whenever it runs.
void count(qemu_plugin_id_t /*id*/, qemu_plugin_tb* code) {
  for (std::size_t i = 0; i < qemu_plugin_tb_n_insns(code); ++i) {
    qemu_plugin_insn* const instruction = qemu_plugin_tb_get_insn(code, i);
    qemu_plugin_register_vcpu_insn_exec_inline(instruction, QEMU_PLUGIN_INLINE_ADD_U64, &counters->instructions, 1);
    qemu_plugin_register_vcpu_mem_cb(instruction, countAccess, QEMU_PLUGIN_CB_NO_REGS, QEMU_PLUGIN_MEM_RW, nullptr);
  }
}

}  // namespace

int qemu_plugin_version = 1;

int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* /*info*/, int argc, char** argv) {
  constexpr std::string_view kArgument = "counters=";
  if (argc != 1 || !std::string_view(argv[0]).starts_with(kArgument)) {
    std::fputs("brumbler_counter: takes one argument, counters=PATH\n", stderr);
    return 1;
  }
  const int file = open(argv[0] + kArgument.size(), O_RDWR | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || ftruncate(file, sizeof(Counters)) != 0) {
    std::perror(argv[0]);
    return 1;
  }
  void* const mapped = mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (mapped == MAP_FAILED) {
    std::perror(argv[0]);
    return 1;
  }
  counters = static_cast<Counters*>(mapped);
  qemu_plugin_register_vcpu_tb_trans_cb(id, count);
  return 0;
}

// SPDX-License-Identifier: MIT
// The part of QEMU's plug-in interface, version 1, that the counter uses, as QEMU's manual describes it ("QEMU TCG
// Plugins"). Debian packages no header of it.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

struct qemu_info_t;
struct qemu_plugin_tb;    // a piece of code being translated
struct qemu_plugin_insn;  // an instruction in it
using qemu_plugin_id_t = std::uint64_t;
enum qemu_plugin_op : int { QEMU_PLUGIN_INLINE_ADD_U64 };
enum qemu_plugin_cb_flags : int { QEMU_PLUGIN_CB_NO_REGS };
enum qemu_plugin_mem_rw : int { QEMU_PLUGIN_MEM_RW = 3 };
using qemu_plugin_meminfo_t = std::uint32_t;

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*callback)(qemu_plugin_id_t id, qemu_plugin_tb* code));
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* code);
qemu_plugin_insn* qemu_plugin_tb_get_insn(const qemu_plugin_tb* code, std::size_t index);

// Adds `value` to *counter whenever the instruction runs.
void qemu_plugin_register_vcpu_insn_exec_inline(qemu_plugin_insn* instruction, qemu_plugin_op op, void* counter,
                                                std::uint64_t value);

// Calls back for each of the instruction's memory accesses. QEMU 7.2 confuses reads and writes where it is asked for
// one of them alone, and where it is asked to add to a counter by itself.
void qemu_plugin_register_vcpu_mem_cb(qemu_plugin_insn* instruction,
                                      void (*callback)(unsigned processor, qemu_plugin_meminfo_t access,
                                                       std::uint64_t address, void* data),
                                      qemu_plugin_cb_flags flags, qemu_plugin_mem_rw which, void* data);
bool qemu_plugin_mem_is_store(qemu_plugin_meminfo_t access);

// What a plug-in defines.
[[gnu::visibility("default")]] extern int qemu_plugin_version;
[[gnu::visibility("default")]] int qemu_plugin_install(qemu_plugin_id_t id, const qemu_info_t* info, int argc,
                                                       char** argv);
}

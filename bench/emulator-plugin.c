/* Counts, within QEMU's user-mode emulator, the instructions between the two marks of bench_run:
 *
 *     cc -shared -fPIC -o plugin.so emulator-plugin.c
 *     qemu-ppc -plugin ./plugin.so bench_run ...
 *
 * A mark is close(-77), which no program calls otherwise. Debian packages no header for plugins: what
 * is used of the interface, which is the one of version 1, is declared here. */

#include <inttypes.h>
#include <stddef.h>
#include <stdio.h>

struct qemu_plugin_tb;
typedef uint64_t qemu_plugin_id_t;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id,
                                           void (*block)(qemu_plugin_id_t, struct qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block, enum qemu_plugin_op op,
                                              void* counter, uint64_t immediate);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);
void qemu_plugin_register_vcpu_syscall_cb(
    qemu_plugin_id_t id,
    void (*call)(qemu_plugin_id_t, unsigned processor, int64_t number, uint64_t, uint64_t, uint64_t,
                 uint64_t, uint64_t, uint64_t, uint64_t, uint64_t));

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t executed;
static uint64_t begin;

/* Each block adds its number of instructions whenever it is run. */
static void on_translation(qemu_plugin_id_t id, struct qemu_plugin_tb* block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &executed,
                                             qemu_plugin_tb_n_insns(block));
}

static void on_system_call(qemu_plugin_id_t id, unsigned processor, int64_t number, uint64_t file,
                           uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6,
                           uint64_t a7, uint64_t a8)
{
    const int64_t close_of_powerpc = 6;
    (void)id, (void)processor, (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
    if (number != close_of_powerpc || (int32_t)file != -77)
        return;
    if (begin)
        fprintf(stderr, "instructions: %" PRIu64 "\n", executed - begin);
    begin = executed;
}

__attribute__((visibility("default"))) int qemu_plugin_install(qemu_plugin_id_t id,
                                                               const void* emulator, int count,
                                                               char** arguments)
{
    (void)emulator, (void)count, (void)arguments;
    qemu_plugin_register_vcpu_tb_trans_cb(id, on_translation);
    qemu_plugin_register_vcpu_syscall_cb(id, on_system_call);
    return 0;
}

// The works, by subject matter.  Each function sets up what its benchmarks need, and registers them
// under "work/subject".

#ifndef TTY_DB_BENCH_WORKS_H
#define TTY_DB_BENCH_WORKS_H

void add_retrieve_works();
void add_register_works();
void add_iterate_works();
void add_item_works();
void add_resize_works();
void add_trace_gate_works();

#endif  // TTY_DB_BENCH_WORKS_H

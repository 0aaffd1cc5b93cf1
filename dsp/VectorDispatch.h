// Runs a block loop compiled for AVX2 when the processor has it, else for
// the baseline SSE2. Only the vector width differs: no fused multiply-add is
// enabled, so both builds give the same bits. The loop is passed as a lambda
// marked VECTOR_LOOP, which is inlined into (and so compiled for) each
// variant.
#pragma once

#define VECTOR_LOOP __attribute__((always_inline))

namespace vector_dispatch {

inline bool HasAvx2() {
    static const bool has = __builtin_cpu_supports("avx2") && !std::getenv("TAPDELAY_NO_AVX2");
    return has;
}

template <class Loop>
__attribute__((target("avx2"))) void RunAvx2(const Loop& loop) {
    loop();
}

template <class Loop>
void RunBaseline(const Loop& loop) {
    loop();
}

}  // namespace vector_dispatch

template <class Loop>
inline void RunVectorised(const Loop& loop) {
    if (vector_dispatch::HasAvx2())
        vector_dispatch::RunAvx2(loop);
    else
        vector_dispatch::RunBaseline(loop);
}

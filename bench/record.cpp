// A run of the registered component that is written down as a trace:
//
//   bench_record TRACE [what bench_run takes]
//
// The component gets tracing objects in the place of ADO's, in this process only.
#include "ComponentHost.h"
#include "TracedAdo.h"

#include <stdexcept>

int wmain(int count, wchar_t* words[])
{
    return runProgram([&] {
        if (count < 2)
            throw std::runtime_error("usage: bench_record TRACE ...");
        const HostPlan plan = readHostPlan(count - 1, words + 1);
        const TracedAdo ado(words[1], plan.sourceDsn);
        ComponentHost(plan).run();
    });
}

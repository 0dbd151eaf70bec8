#include "Operation.h"

namespace REPORTGENERATOR {

namespace {
// Read by every call into a held record, so it takes the static TLS model: one load from
// the thread pointer instead of a call to __tls_get_addr, which the general model of a
// shared library costs on each access.
#if defined(__GNUC__) && defined(__ELF__)
__attribute__((tls_model("initial-exec")))
#endif
thread_local Operation t_operation;
} // namespace

Operation& Operation::OfThread() noexcept
{
    return t_operation;
}

} // namespace REPORTGENERATOR

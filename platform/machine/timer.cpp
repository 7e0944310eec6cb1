#include "platform/machine/timer.h"

#include "platform/machine/os.h"

namespace kest {

void CKestTimer::Start() { m_end = CKestOS::GetMachine().MonotonicMilliseconds() + m_length; }

bool CKestTimer::IsDone() const { return CKestOS::GetMachine().MonotonicMilliseconds() >= m_end; }

} // namespace kest

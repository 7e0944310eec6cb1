#include "host/program.h"

#include <exception>

namespace {

struct LastNet {
  LastNet() { std::set_terminate(kest::host::EndAtOnce); }
};

// before anything that allocates at the start
[[gnu::init_priority(200)]] const LastNet s_lastNet;

} // namespace

int main(int count, char** arguments) { return kest::host::RunProgram(count, arguments); }

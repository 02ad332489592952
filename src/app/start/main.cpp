#include <csignal>

#include "app/start/start_up.h"

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    return pellago::Main({argv + 1, argv + argc});
}

// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_BENCHMARK_BACKGROUND_LOAD_H
#define TARNBY_BENCHMARK_BACKGROUND_LOAD_H

// "Under load", reproducibly: `--background-load N` starts N processes that spin on the CPU for as long as the
// benchmark program runs. They end with it (killed when the load object goes, and by the kernel if the program
// dies), and on their own after a time limit, so that no spinner outlives a forgotten run.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace OHOS::TarnbyBenchmark {
class BackgroundLoad {
public:
    static constexpr unsigned LIMIT_SECONDS = 1800;

    explicit BackgroundLoad(int processes)
    {
        for (int i = 0; i < processes; i++) {
            pid_t pid = fork();
            if (pid == 0) {
                Spin();
            }
            if (pid > 0) {
                spinners_.push_back(pid);
            }
        }
        if (processes > 0) {
            std::fprintf(stderr, "background load: %zu spinning processes\n", spinners_.size());
        }
    }
    ~BackgroundLoad()
    {
        for (pid_t pid : spinners_) {
            kill(pid, SIGKILL);
        }
        for (pid_t pid : spinners_) {
            waitpid(pid, nullptr, 0);
        }
    }
    BackgroundLoad(const BackgroundLoad &) = delete;
    BackgroundLoad &operator=(const BackgroundLoad &) = delete;

    // Takes "--background-load N" (or "--background-load=N") out of the arguments; N, or 0 when absent.
    static int TakeCount(int &argc, char **argv)
    {
        int count = 0;
        int kept = 1;
        for (int i = 1; i < argc; i++) {
            const char *flag = "--background-load";
            size_t length = std::strlen(flag);
            if (std::strncmp(argv[i], flag, length) == 0 && argv[i][length] == '=') {
                count = std::atoi(argv[i] + length + 1);
            } else if (std::strcmp(argv[i], flag) == 0 && i + 1 < argc) {
                count = std::atoi(argv[++i]);
            } else {
                argv[kept++] = argv[i];
            }
        }
        argc = kept;
        argv[argc] = nullptr;
        return count;
    }

private:
    [[noreturn]] static void Spin()
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(LIMIT_SECONDS);
        volatile unsigned long counter = 0;
        for (;;) {
            counter = counter + 1;
        }
    }

    std::vector<pid_t> spinners_;
};
} // namespace OHOS::TarnbyBenchmark

#endif // TARNBY_BENCHMARK_BACKGROUND_LOAD_H

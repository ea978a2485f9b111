// SPDX-License-Identifier: Apache-2.0
#ifndef TARNBY_BENCHMARK_PEER_PROCESS_H
#define TARNBY_BENCHMARK_PEER_PROCESS_H

// The other process of a cross-process benchmark: the program itself once more, in a role named by its arguments.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "iservice_registry.h"

extern char **environ;

namespace OHOS::TarnbyBenchmark {
// This program with `arguments`; returns once the new process printed its first line (it is ready), or -1.
inline pid_t SpawnSelf(std::vector<std::string> arguments)
{
    int out[2];
    if (pipe(out) != 0) {
        return -1;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    arguments.insert(arguments.begin(), "/proc/self/exe");
    std::vector<char *> argv;
    for (auto &argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    pid_t pid = -1;
    posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    char ready[64] = {};
    ssize_t got = read(out[0], ready, sizeof(ready) - 1);
    close(out[0]);
    return got > 0 ? pid : -1;
}

inline void EndProcess(pid_t pid)
{
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
}

inline sptr<IRemoteObject> FindAbility(int32_t id)
{
    return SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager()->GetSystemAbility(id);
}
} // namespace OHOS::TarnbyBenchmark

#endif // TARNBY_BENCHMARK_PEER_PROCESS_H

// Another process of a test: this very program, in one test that is not for itself and so is disabled. It says numbers.
#pragma once

#include "Platform/types.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

class HelperProcess {
public:
    // `job` is for the helper alone.
    HelperProcess(const std::string& test, const std::string& job) {
        int pipes[2];
        if (pipe2(pipes, O_CLOEXEC)) return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipes[1], kTold);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        setenv(kJob, job.c_str(), 1);
        std::string name = "/proc/self/exe", filter = "--gtest_filter=" + test,
                    disabled = "--gtest_also_run_disabled_tests";
        char* arguments[] = {name.data(), filter.data(), disabled.data(), nullptr};
        if (posix_spawn(&m_pid, "/proc/self/exe", &actions, nullptr, arguments, environ)) m_pid = -1;
        unsetenv(kJob);
        posix_spawn_file_actions_destroy(&actions);
        close(pipes[1]);
        m_told = pipes[0];
    }
    ~HelperProcess() {
        Kill();
        close(m_told);
    }
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    // The next number that it says, false when it has ended.
    bool Hear(LONG& n) { return read(m_told, &n, sizeof n) == static_cast<ssize_t>(sizeof n); }
    void Kill() {
        if (m_pid > 0) kill(m_pid, SIGKILL);
        Wait();
    }
    void Wait() {
        if (m_pid > 0) waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }

    // --- in the helper ---
    static std::string Job() {
        const char* job = getenv(kJob);
        return job ? job : "";
    }
    static void Say(LONG n) {
        if (write(kTold, &n, sizeof n) < 0) _exit(1);
    }

private:
    static constexpr int kTold = 3; // the descriptor on which it says what is done
    static constexpr const char* kJob = "QN_TEST_HELPER_JOB";

    pid_t m_pid = -1;
    int m_told = -1;
};

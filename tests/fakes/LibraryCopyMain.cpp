// SPDX-License-Identifier: Apache-2.0

// The main function of tests of what the library looks for beside itself. It copies libzelmo.so and libgenicam.so to
// <folder>/lib, with a folder of this process's own, and runs the tests in a child process that loads the copies; there
// ZELMO_TEST_FOLDER names the folder.

#include "fakes/TempFolder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

int RunInChild(char** argv, const std::filesystem::path& folder) {
    const pid_t child = fork();
    if (child == 0) {
        setenv("ZELMO_TEST_FOLDER", folder.c_str(), 1);
        setenv("LD_LIBRARY_PATH", (folder / "lib").c_str(), 1);
        execv("/proc/self/exe", argv);
        std::perror("execv");
        _exit(127);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        std::perror("running the tests");
        return 127;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

int main(int argc, char** argv) {
    if (std::getenv("ZELMO_TEST_FOLDER") != nullptr) {
        testing::InitGoogleTest(&argc, argv);
        return RUN_ALL_TESTS();
    }
    const Fakes::TempFolder folder;
    const std::filesystem::path lib = folder.Path() / "lib";
    std::filesystem::create_directory(lib);
    std::filesystem::copy_file(LIBZELMO_FILE, lib / LIBZELMO_SONAME);
    std::filesystem::copy_file(LIBGENICAM_FILE, lib / LIBGENICAM_SONAME);
    return RunInChild(argv, folder.Path());
}

// SPDX-License-Identifier: Apache-2.0
#include "ScarceResources.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <new>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

namespace {

std::atomic<const char*> g_call{nullptr}; // the armed one, while it has not struck
std::atomic<long> g_left{0};              // calls up to the one that fails
std::atomic<int> g_error{0};
thread_local int spared = 0;

bool Strikes(const char* call) {
    const char* const armed = g_call;
    if (armed == nullptr || spared > 0 || std::strcmp(armed, call) != 0 || --g_left != 0) {
        return false;
    }
    g_call = nullptr;
    return true;
}

/// The system's own form of a call. A sanitizer that is linked into the program sees a call, such as a new thread, only
/// through a form of its own, which lies there under this name.
template <typename Function>
Function* SystemForm(const char* name) {
    char sanitizers[64]; // no text that allocates: that is a call which may fail, too
    std::snprintf(sanitizers, sizeof(sanitizers), "__interceptor_%s", name);
    void* const form = dlsym(RTLD_DEFAULT, sanitizers);
    return reinterpret_cast<Function*>(form != nullptr ? form : dlsym(RTLD_NEXT, name));
}

/// The system's own form of @p call, or the armed error.
template <typename Function, typename... Arguments>
int Call(const char* name, Function*, Arguments... arguments) {
    static_assert(std::is_function_v<Function>);
    if (Strikes(name)) {
        errno = g_error;
        return std::strcmp(name, "pthread_create") == 0 ? g_error.load() : -1;
    }
    return static_cast<int>(SystemForm<Function>(name)(arguments...));
}

} // namespace

namespace ScarceResources {

std::vector<SystemCall> SystemCalls() {
    return {{"pipe", {EMFILE, ENFILE}},
            {"dup", {EMFILE, ENFILE}},
            {"timer_create", {EAGAIN, ENOMEM}},
            {"pthread_create", {EAGAIN}},
            {"poll", {EINTR}},
            {"read", {EINTR}},
            {"write", {EINTR}}};
}

void Arm(const Fault& fault) {
    static const std::array kNames{"new", "pipe", "dup", "timer_create", "pthread_create", "poll", "read", "write"};
    g_left = static_cast<long>(fault.nth);
    g_error = fault.error;
    for (const char* name : kNames) {
        if (fault.call == name) {
            g_call = name;
        }
    }
}

bool Disarm() {
    return g_call.exchange(nullptr) == nullptr;
}

Spared::Spared() {
    ++spared;
}
Spared::~Spared() {
    --spared;
}

} // namespace ScarceResources

extern "C" {
int pipe(int ends[2]) noexcept {
    return Call("pipe", &pipe, ends);
}
int dup(int fd) noexcept {
    return Call("dup", &dup, fd);
}
int timer_create(clockid_t clock, sigevent* event, timer_t* timer) noexcept {
    return Call("timer_create", &timer_create, clock, event, timer);
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) noexcept {
    return Call("pthread_create", &pthread_create, thread, attributes, body, argument);
}
int poll(pollfd* entries, nfds_t count, int timeoutMs) {
    auto* const system = SystemForm<decltype(poll)>("poll");
    if (Strikes("poll")) {
        const int ready = system(entries, count, 0);
        errno = g_error;
        return ready != 0 ? ready : -1; // a kernel tells what is ready before it tells of a signal
    }
    return system(entries, count, timeoutMs);
}
ssize_t read(int fd, void* data, size_t size) {
    return Call("read", &read, fd, data, size);
}
ssize_t write(int fd, const void* data, size_t size) {
    return Call("write", &write, fd, data, size);
}
}

void* operator new(std::size_t size) {
    if (Strikes("new")) {
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size != 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Strikes("new") ? nullptr : std::malloc(size != 0 ? size : 1);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

// SPDX-License-Identifier: Apache-2.0
#include "LogContext.h"

#include <memory>
#include <string>
#include <vector>

namespace GenICam::LogContext {

namespace {

struct Texts {
    std::string joined;
    std::vector<std::size_t> starts; // of each text within joined
};

// Plain pointer and flag: unlike objects with a destructor they can be read until the thread is gone.
thread_local Texts* t_texts = nullptr;
thread_local bool t_ended = false;

struct Owner {
    ~Owner() {
        delete t_texts;
        t_texts = nullptr;
        t_ended = true;
    }
};

Texts& Create() {
    static thread_local Owner owner;
    t_texts = new Texts;
    return *t_texts;
}

} // namespace

std::string_view Joined() noexcept {
    return t_texts ? std::string_view(t_texts->joined) : std::string_view();
}

void Push(std::string_view text) {
    if (t_ended) {
        return;
    }
    Texts& texts = t_texts ? *t_texts : Create();
    texts.starts.push_back(texts.joined.size());
    try {
        texts.joined += text;
    } catch (...) {
        texts.starts.pop_back();
        throw;
    }
}

void Pop() noexcept {
    if (!t_texts || t_texts->starts.empty()) {
        return;
    }
    t_texts->joined.resize(t_texts->starts.back());
    t_texts->starts.pop_back();
}

} // namespace GenICam::LogContext

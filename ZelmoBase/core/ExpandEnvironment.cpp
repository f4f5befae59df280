// SPDX-License-Identifier: Apache-2.0
#include "ZelmoBase/core/ExpandEnvironment.h"

#include <zelmo/Utilities.h>

#include <string_view>

namespace Zelmo {
namespace {

/// Copies a text from the left and expands on the way.
class Expander {
public:
    Expander(std::string_view text, EExpandDialect dialect) : m_rest(text), m_dialect(dialect) {}

    int Run() {
        while (!m_rest.empty()) {
            if (m_rest.front() == '$') {
                TakeDollar();
            } else if (m_rest.front() == '%') {
                TakePercent();
            } else {
                Take(1, m_rest.substr(0, 1));
            }
        }
        return m_count;
    }

    std::string& Result() { return m_result; }

private:
    void Take(std::size_t length, std::string_view replacement) {
        m_result += replacement;
        m_rest.remove_prefix(length);
    }

    void TakeVariable(std::size_t length, std::string_view name) {
        String_t value;
        GetValueOfEnvironmentVariable(std::string(name).c_str(), value);
        ++m_count;
        Take(length, value.view());
    }

    void TakeDollar() {
        if (m_rest.starts_with("$$")) {
            return Take(2, "$");
        }
        const std::size_t end = m_rest.find(')');
        if (m_rest.starts_with("$(") && end != std::string_view::npos && end > 2) {
            return TakeVariable(end + 1, m_rest.substr(2, end - 2));
        }
        Take(1, "$");
    }

    void TakePercent() {
        const bool doubling = m_dialect == ExpandDialect_LibraryPath;
        const std::size_t end = m_rest.find('%', 1);
        if (end == 1) {
            return Take(2, doubling ? "%%" : "%");
        }
        if (end != std::string_view::npos) {
            return TakeVariable(end + 1, m_rest.substr(1, end - 1));
        }
        Take(1, doubling ? "%%" : "%");
    }

    std::string_view m_rest;
    std::string m_result;
    EExpandDialect m_dialect;
    int m_count = 0;
};

/// Texts of one or two bytes: a single percent sign is doubled, and that counts.
int DoubleLonePercent(std::string& text) {
    if (text == "%%") {
        return 0;
    }
    const std::size_t percent = text.find('%');
    if (percent == std::string::npos) {
        return 0;
    }
    text.insert(percent, 1, '%');
    return 1;
}

} // namespace

int ExpandEnvironment(std::string& text, EExpandDialect dialect) noexcept {
    try {
        if (text.find_first_of("$%") == std::string::npos) {
            return 0;
        }
        if (text.size() < 3) {
            return dialect == ExpandDialect_LibraryPath ? DoubleLonePercent(text) : 0;
        }
        Expander expander(text, dialect);
        const int count = expander.Run();
        text.swap(expander.Result());
        return count;
    } catch (...) {
        return -1;
    }
}

} // namespace Zelmo

// SPDX-License-Identifier: Apache-2.0
#include "control/KnownDevices.h"

#include "KnownDeviceTable.h"

#include <Base/GCException.h>

#include <algorithm>

namespace Gige {

namespace {

constexpr char Lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kSpaces = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kSpaces);
    return first == text.npos ? std::string_view{} : text.substr(first, text.find_last_not_of(kSpaces) - first + 1);
}

/// The trimmed text up to the separator, or all; it is taken off the rest, with the separator.
std::string_view TakePart(std::string_view& rest, char separator) {
    const std::size_t end = rest.find(separator);
    const std::string_view part = rest.substr(0, end);
    rest = end == rest.npos ? std::string_view{} : rest.substr(end + 1);
    return Trim(part);
}

struct CException {
    std::string_view name;
    bool CDeviceExceptions::*flag;
};
constexpr CException kExceptions[] = {{"register-commands", &CDeviceExceptions::usesRegisterCommands}};

// Goes back to the last star only, so the time is bounded by the product of both lengths.
bool Fits(std::string_view pattern, std::string_view text) {
    std::size_t at = 0, star = pattern.npos, mark = 0, in = 0;
    while (in < text.size()) {
        if (at < pattern.size() && pattern[at] == '*') {
            star = at++;
            mark = in;
        } else if (at < pattern.size() && Lower(pattern[at]) == Lower(text[in])) {
            ++at;
            ++in;
        } else if (star != pattern.npos) {
            at = star + 1;
            in = ++mark;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == pattern.npos;
}

void AddException(CKnownDevice& device, std::string_view name, int line) {
    const auto* const found = std::find_if(std::begin(kExceptions), std::end(kExceptions),
                                           [&](const CException& one) { return one.name == name; });
    if (found == std::end(kExceptions)) {
        throw RUNTIME_EXCEPTION("Line %d of the known devices: there is no exception '%s'.", line,
                                std::string(name).c_str());
    }
    device.exceptions.*found->flag = true;
}

CKnownDevice ParseLine(std::string_view line, int number) {
    CKnownDevice device;
    device.manufacturer = TakePart(line, ';');
    device.model = TakePart(line, ';');
    if (device.manufacturer.empty() || device.model.empty() || Trim(line).empty()) {
        throw RUNTIME_EXCEPTION("Line %d of the known devices: needed are a maker, a model and an exception.", number);
    }
    for (bool isLast = false; !isLast;) {
        isLast = line.find(',') == line.npos;
        AddException(device, TakePart(line, ','), number);
    }
    return device;
}

} // namespace

std::vector<CKnownDevice> ParseKnownDevices(std::string_view text) {
    std::vector<CKnownDevice> known;
    for (int number = 1; !text.empty(); ++number) {
        std::string_view line = TakePart(text, '\n');
        line = Trim(line.substr(0, line.find('#')));
        if (!line.empty()) {
            known.push_back(ParseLine(line, number));
        }
    }
    return known;
}

CDeviceExceptions FindExceptions(const std::vector<CKnownDevice>& known, std::string_view manufacturer,
                                 std::string_view model) {
    CDeviceExceptions all;
    for (const CKnownDevice& device : known) {
        if (Fits(device.manufacturer, manufacturer) && Fits(device.model, model)) {
            for (const CException& one : kExceptions) {
                all.*one.flag = all.*one.flag || device.exceptions.*one.flag;
            }
        }
    }
    return all;
}

CDeviceExceptions FindExceptions(std::string_view manufacturer, std::string_view model) {
    static const std::vector<CKnownDevice> kKnown = ParseKnownDevices(kKnownDeviceText);
    return FindExceptions(kKnown, manufacturer, model);
}

} // namespace Gige

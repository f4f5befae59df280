// SPDX-License-Identifier: Apache-2.0
#include "Script.h"

#include <Base/GCException.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace Fakes {
namespace {

#define FAKES_NAME(name, ...) #name
#define FAKES_WORD(name, word) word
constexpr const char* kOperationNames[] = {FAKES_OPERATIONS(FAKES_NAME)};
constexpr const char* kFaultWords[] = {FAKES_FAULTS(FAKES_WORD)};
constexpr const char* kSourceWords[] = {"hand", "queue", "free"}; // a rate is told as a number

bool Fits(EOperation operation, EFault fault) {
    const bool isNode = operation >= EOperation::PayloadSize && operation <= EOperation::MaxNumBuffer;
    if (fault <= EFault::ThrowInt) {
        return operation != EOperation::Frame;
    }
    if (fault <= EFault::Spurious) {
        return true;
    }
    if (fault == EFault::False) {
        return (operation >= EOperation::GetWaitObject && operation <= EOperation::AnnounceAnytimeEnable) ||
               operation == EOperation::RetrieveResult || operation == EOperation::DeregisterBuffer ||
               operation == EOperation::RegisterBuffer;
    }
    if (fault == EFault::True) {
        return operation == EOperation::IsOpen;
    }
    if (fault <= EFault::Again) {
        return operation == EOperation::RetrieveResult;
    }
    return fault < EFault::Missing ? operation == EOperation::Frame : isNode;
}

template <class Enum, std::size_t size>
Enum ByName(const char* const (&names)[size], const std::string& name) {
    const auto* const found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names)) {
        throw std::invalid_argument("there is no '" + name + "'");
    }
    return static_cast<Enum>(found - std::begin(names));
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
}

std::uint32_t Number(const std::string& text, std::uint32_t maximum = 999999999) {
    if (!IsNumber(text) || std::stoul(text) == 0 || std::stoul(text) > maximum) {
        throw std::invalid_argument("'" + text + "' is no number from 1 to " + std::to_string(maximum));
    }
    return static_cast<std::uint32_t>(std::stoul(text));
}

/// What stands before and behind the first @p separator.
std::pair<std::string, std::string> Split(const std::string& text, char separator) {
    const std::size_t at = std::min(text.find(separator), text.size());
    return {text.substr(0, at), text.substr(std::min(at + 1, text.size()))};
}

CFault ReadFault(const std::string& piece) {
    const auto [operationName, rest] = Split(piece, ':');
    const auto [call, what] = Split(rest, ':');
    const auto [word, ms] = Split(what, '=');
    const auto operation = ByName<EOperation>(kOperationNames, operationName);
    const auto fault = ByName<EFault>(kFaultWords, word);
    if (!Fits(operation, fault) || (!ms.empty() && fault != EFault::Stall)) {
        throw std::invalid_argument(operationName + " has no such fault");
    }
    if (fault >= EFault::Missing && call != "*") {
        throw std::invalid_argument("it holds for all accesses, so the call must be *");
    }
    return {operation, call == "*" ? 0 : Number(call), fault, ms.empty() ? 0 : Number(ms)};
}

} // namespace

const char* NameOf(EOperation operation) {
    return kOperationNames[static_cast<std::size_t>(operation)];
}

CScript::CScript(const std::string& line) : text(line) {
    std::istringstream pieces(line);
    for (std::string piece; std::getline(pieces, piece, ';');) {
        try {
            Read(piece);
        } catch (const std::invalid_argument& e) {
            throw INVALID_ARGUMENT_EXCEPTION("Cannot read '%s' in a script: %s", piece.c_str(), e.what());
        }
    }
}

void CScript::Read(const std::string& piece) {
    const auto [name, value] = Split(piece, '=');
    if (piece.find(':') != std::string::npos) {
        faults.push_back(ReadFault(piece));
    } else if (name == "source") {
        rateHz = IsNumber(value) ? Number(value) : 0;
        source = rateHz != 0 ? ESource::Rate : ByName<ESource>(kSourceWords, value);
    } else if (name == "frames") {
        frames = Number(value);
    } else if (name == "size") {
        width = static_cast<std::int32_t>(Number(Split(value, 'x').first, 4096));
        height = static_cast<std::int32_t>(Number(Split(value, 'x').second, 4096));
    } else if (name == "mute") {
        tellsRemoval = Number(value, 1) != 1;
    } else if (name == "chunks") {
        saysChunks = Number(value, 1) == 1;
    } else if (!piece.empty()) {
        throw std::invalid_argument("there is no setting '" + name + "'");
    }
}

} // namespace Fakes

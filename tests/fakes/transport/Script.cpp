#include "Script.h"

#include <Base/GCException.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>
#include <stdexcept>

namespace Fakes {
namespace {

#define FAKES_NAME(name, ...) #name
#define FAKES_WORD(name, word) word
constexpr const char* operationNames[] = {FAKES_OPERATIONS(FAKES_NAME)};
constexpr const char* faultWords[] = {FAKES_FAULTS(FAKES_WORD)};
constexpr const char* sourceWords[] = {"hand", "queue", "free"}; // a rate is told as a number

bool Fits(EOperation operation, EFault fault) {
    const bool isNode = operation >= EOperation::PayloadSize && operation <= EOperation::MaxNumBuffer;
    if (fault <= EFault::ThrowInt)
        return operation != EOperation::Frame;
    if (fault <= EFault::Spurious)
        return true;
    if (fault == EFault::False)
        return (operation >= EOperation::GetWaitObject && operation <= EOperation::AnnounceAnytimeEnable) ||
               operation == EOperation::RetrieveResult || operation == EOperation::DeregisterBuffer ||
               operation == EOperation::RegisterBuffer;
    if (fault == EFault::True)
        return operation == EOperation::IsOpen;
    return fault < EFault::Missing ? operation == EOperation::Frame : isNode;
}

template <class Enum, std::size_t size>
Enum ByName(const char* const (&names)[size], const std::string& name) {
    const auto* const found = std::find(std::begin(names), std::end(names), name);
    if (found == std::end(names))
        throw std::invalid_argument("there is no '" + name + "'");
    return static_cast<Enum>(found - std::begin(names));
}

bool IsNumber(const std::string& text) {
    return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
}

std::uint32_t Number(const std::string& text, std::uint32_t maximum = 999999999) {
    if (!IsNumber(text) || std::stoul(text) == 0 || std::stoul(text) > maximum)
        throw std::invalid_argument("'" + text + "' is no number from 1 to " + std::to_string(maximum));
    return static_cast<std::uint32_t>(std::stoul(text));
}

/// Takes the part of @p text before @p end off, and @p end with it.
std::string TakeUpTo(char end, std::string& text) {
    const std::string part = text.substr(0, text.find(end));
    text.erase(0, part.size() + 1);
    return part;
}

CFault ParseFault(std::string text) {
    CFault fault{};
    fault.operation = ByName<EOperation>(operationNames, TakeUpTo(':', text));
    const std::string call = TakeUpTo(':', text);
    fault.call = call == "*" ? 0 : Number(call);
    fault.fault = ByName<EFault>(faultWords, TakeUpTo('=', text));
    fault.ms = text.empty() ? 0 : Number(text);
    if (!Fits(fault.operation, fault.fault) || (fault.ms != 0 && fault.fault != EFault::Stall))
        throw std::invalid_argument(std::string(NameOf(fault.operation)) + " has no such fault");
    if (fault.fault >= EFault::Missing && fault.call != 0)
        throw std::invalid_argument("it holds for all accesses, so the call must be *");
    return fault;
}

} // namespace

const char* NameOf(EOperation operation) {
    return operationNames[static_cast<std::size_t>(operation)];
}

CScript::CScript(const std::string& text) {
    std::istringstream pieces(text);
    for (std::string piece; std::getline(pieces, piece, ';');) {
        try {
            if (piece.find(':') != std::string::npos)
                faults.push_back(ParseFault(piece));
            else
                Set(piece);
        } catch (const std::invalid_argument& e) {
            throw INVALID_ARGUMENT_EXCEPTION("Cannot read '%s' in a script: %s", piece.c_str(), e.what());
        }
    }
}

void CScript::Set(std::string setting) {
    const std::string name = TakeUpTo('=', setting);
    std::string& value = setting; // what is left
    if (name == "source") {
        rateHz = IsNumber(value) ? Number(value) : 0;
        source = rateHz != 0 ? ESource::Rate : ByName<ESource>(sourceWords, value);
    } else if (name == "frames") {
        frames = Number(value);
    } else if (name == "size") {
        width = static_cast<std::int32_t>(Number(TakeUpTo('x', value), 4096));
        height = static_cast<std::int32_t>(Number(value, 4096));
    } else if (name == "log") {
        logsCalls = Number(value, 1) == 1;
    } else {
        throw std::invalid_argument("there is no setting '" + name + "'");
    }
}

CScript CScript::Random(std::uint64_t seed, unsigned count, std::uint64_t lastCall) {
    std::mt19937_64 random(seed);
    CScript script;
    while (script.faults.size() < count) {
        CFault fault{};
        fault.operation = static_cast<EOperation>(random() % static_cast<std::uint64_t>(EOperation::Count));
        fault.fault = static_cast<EFault>(random() % static_cast<std::uint64_t>(EFault::Count));
        fault.call = fault.fault >= EFault::Missing ? 0 : 1 + random() % lastCall;
        fault.ms = fault.fault == EFault::Stall ? 1 + static_cast<std::uint32_t>(random() % 5) : 0;
        if (Fits(fault.operation, fault.fault) && fault.fault != EFault::Remove)
            script.faults.push_back(fault);
    }
    return script;
}

std::string CScript::ToText() const {
    std::ostringstream text;
    text << "source=" << (rateHz != 0 ? std::to_string(rateHz) : sourceWords[static_cast<std::size_t>(source)]);
    text << ";size=" << width << 'x' << height;
    text << (frames != 0 ? ";frames=" + std::to_string(frames) : "") << (logsCalls ? ";log=1" : "");
    for (const CFault& fault : faults)
        text << ';' << NameOf(fault.operation) << ':' << (fault.call == 0 ? "*" : std::to_string(fault.call)) << ':'
             << faultWords[static_cast<std::size_t>(fault.fault)]
             << (fault.ms != 0 ? "=" + std::to_string(fault.ms) : "");
    return text.str();
}

} // namespace Fakes

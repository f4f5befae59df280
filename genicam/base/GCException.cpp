// SPDX-License-Identifier: Apache-2.0
#include <Base/GCException.h>

namespace GenICam {

namespace {

std::string OrEmpty(const char* text) {
    return text ? text : "";
}

/// "<description> : <type> thrown"
std::string Beginning(const char* description, const char* exceptionType) {
    const std::string type = OrEmpty(exceptionType);
    return OrEmpty(description) + " : " + (type.empty() ? "Exception" : type) + " thrown";
}

/// " (file '<file>', line <n>)"
std::string Place(const char* sourceFileName, unsigned int sourceLine) {
    return " (file '" + OrEmpty(sourceFileName) + "', line " + std::to_string(sourceLine) + ")";
}

} // namespace

struct GenericException::Details {
    std::string description;
    std::string sourceFileName;
    unsigned int sourceLine;
    std::string what;
};

GenericException::GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine)
    : GenericException(description, sourceFileName, sourceLine, nullptr) {}

GenericException::GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                                   const char* exceptionType)
    // NOLINTNEXTLINE(bugprone-throw-keyword-missing): the details are those of an exception, not one
    : m_details(std::make_shared<Details>(
          Details{OrEmpty(description), OrEmpty(sourceFileName), sourceLine,
                  Beginning(description, exceptionType) + Place(sourceFileName, sourceLine)})) {}

GenericException::GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                                   const char* entryPoint, const char* errorNodeName, const char* exceptionType)
    // NOLINTNEXTLINE(bugprone-throw-keyword-missing): the details are those of an exception, not one
    : m_details(std::make_shared<Details>(
          Details{OrEmpty(description), OrEmpty(sourceFileName), sourceLine,
                  Beginning(description, exceptionType) + " in node '" + OrEmpty(errorNodeName) + "' while calling '" +
                      OrEmpty(entryPoint) + "()'" + Place(sourceFileName, sourceLine)})) {}

GenericException::GenericException(const GenericException& other) noexcept = default;
GenericException& GenericException::operator=(const GenericException& other) noexcept = default;

const char* GenericException::GetDescription() const noexcept {
    return m_details->description.c_str();
}

const char* GenericException::GetSourceFileName() const noexcept {
    return m_details->sourceFileName.c_str();
}

unsigned int GenericException::GetSourceLine() const noexcept {
    return m_details->sourceLine;
}

const char* GenericException::what() const noexcept {
    return m_details->what.c_str();
}

// Defined here, so that vtables and typeinfo stand once, in this library, and every module catches the same types.
GenericException::~GenericException() = default;
BadAllocException::~BadAllocException() = default;
InvalidArgumentException::~InvalidArgumentException() = default;
OutOfRangeException::~OutOfRangeException() = default;
PropertyException::~PropertyException() = default;
RuntimeException::~RuntimeException() = default;
LogicalErrorException::~LogicalErrorException() = default;
AccessException::~AccessException() = default;
TimeoutException::~TimeoutException() = default;
DynamicCastException::~DynamicCastException() = default;

} // namespace GenICam

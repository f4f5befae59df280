// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <Base/GCLinkage.h>
#include <Base/GCString.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <memory>
#include <sstream>
#include <string>

/// Lets the compiler check a printf format against its arguments; in a member function `this` counts as argument 1.
#if defined(__GNUC__)
#define GENICAM_PRINTF_FORMAT(formatIndex, firstArgument) __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define GENICAM_PRINTF_FORMAT(formatIndex, firstArgument)
#endif

namespace GenICam {

/// Root of all exceptions of this library. Thrown by value, best through the macros below; copying never throws.
/// what() reads "<description> : <type> thrown (file '<file>', line <n>)", from a node "<description> : <type> thrown
/// in node '<node>' while calling '<entryPoint>()' (file '<file>', line <n>)"; without a type, "Exception" stands for
/// it. A null text counts as the empty one. @throws std::bad_alloc from the constructors.
class GENICAM_API GenericException : public std::exception {
public:
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine);
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType);
    /// @p entryPoint is the outermost public call, as "Width.SetValue"; @p errorNodeName the node that raised.
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* entryPoint, const char* errorNodeName, const char* exceptionType);
    GenericException(const GenericException& other) noexcept;
    GenericException& operator=(const GenericException& other) noexcept;
    ~GenericException() override;

    /// The texts live as long as this exception or a copy of it.
    const char* GetDescription() const noexcept;
    const char* GetSourceFileName() const noexcept;
    unsigned int GetSourceLine() const noexcept;
    const char* what() const noexcept override;

private:
    struct Details;
    std::shared_ptr<const Details> m_details;
};

/// Out of memory.
class GENICAM_API BadAllocException : public GenericException {
public:
    using GenericException::GenericException;
    ~BadAllocException() override;
};

/// A null or wrong argument; text that cannot be parsed; an unknown symbolic value.
class GENICAM_API InvalidArgumentException : public GenericException {
public:
    using GenericException::GenericException;
    ~InvalidArgumentException() override;
};

/// A value below the minimum, above the maximum or off the grid; an index or position behind the end.
class GENICAM_API OutOfRangeException : public GenericException {
public:
    using GenericException::GenericException;
    ~OutOfRangeException() override;
};

/// A broken property in a description file.
class GENICAM_API PropertyException : public GenericException {
public:
    using GenericException::GenericException;
    ~PropertyException() override;
};

/// What went wrong outside of the caller's hands: files, ports, the environment.
class GENICAM_API RuntimeException : public GenericException {
public:
    using GenericException::GenericException;
    ~RuntimeException() override;
};

/// A rule of use was broken.
class GENICAM_API LogicalErrorException : public GenericException {
public:
    using GenericException::GenericException;
    ~LogicalErrorException() override;
};

/// A node is not implemented, not available, not readable or not writable.
class GENICAM_API AccessException : public GenericException {
public:
    using GenericException::GenericException;
    ~AccessException() override;
};

/// A device did not answer in time.
class GENICAM_API TimeoutException : public GenericException {
public:
    using GenericException::GenericException;
    ~TimeoutException() override;
};

/// An object is not of the type asked for.
class GENICAM_API DynamicCastException : public GenericException {
public:
    using GenericException::GenericException;
    ~DynamicCastException() override;
};

/// Builds exceptions of type @p E for one place in the source; the macros below are the usual way to one.
/// The texts given to the constructor are borrowed until Report returns.
template <class E>
class ExceptionReporter {
public:
    ExceptionReporter(const char* sourceFileName, unsigned int sourceLine, const char* exceptionType = nullptr) noexcept
        : m_sourceFileName(sourceFileName), m_sourceLine(sourceLine), m_exceptionType(exceptionType) {}

    /// For nodes: @p entryPoint as "Width.SetValue", @p errorNodeName the node that raises.
    ExceptionReporter(const char* sourceFileName, unsigned int sourceLine, const char* entryPoint,
                      const char* errorNodeName, const char* exceptionType) noexcept
        : m_sourceFileName(sourceFileName), m_sourceLine(sourceLine), m_entryPoint(entryPoint),
          m_errorNodeName(errorNodeName), m_exceptionType(exceptionType) {}

    /// The description is cut at 255 bytes; the other forms keep theirs whole.
    E Report(const char* format, ...) const GENICAM_PRINTF_FORMAT(2, 3) {
        char description[256] = "";
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(description, sizeof description, format, arguments);
        va_end(arguments);
        return Make(description);
    }
    E Report() const { return Make(""); }
    E Report(const std::string& description) const { return Make(description.c_str()); }
    E Report(const gcstring& description) const { return Make(description.c_str()); }
    E Report(const std::stringstream& description) const { return Make(description.str().c_str()); }

private:
    E Make(const char* description) const {
        if (m_errorNodeName) {
            return E(description, m_sourceFileName, m_sourceLine, m_entryPoint, m_errorNodeName, m_exceptionType);
        }
        return E(description, m_sourceFileName, m_sourceLine, m_exceptionType);
    }

    const char* m_sourceFileName;
    unsigned int m_sourceLine;
    const char* m_entryPoint = nullptr;
    const char* m_errorNodeName = nullptr;
    const char* m_exceptionType;
};

} // namespace GenICam

/// `throw RUNTIME_EXCEPTION("Cannot open %s", name);` raises with the file, line and type name of the place.
#define GENERIC_EXCEPTION GenICam::ExceptionReporter<GenICam::GenericException>(__FILE__, __LINE__).Report
#define GENICAM_EXCEPTION_OF(Type) GenICam::ExceptionReporter<GenICam::Type>(__FILE__, __LINE__, #Type).Report
#define BAD_ALLOC_EXCEPTION GENICAM_EXCEPTION_OF(BadAllocException)
#define INVALID_ARGUMENT_EXCEPTION GENICAM_EXCEPTION_OF(InvalidArgumentException)
#define OUT_OF_RANGE_EXCEPTION GENICAM_EXCEPTION_OF(OutOfRangeException)
#define PROPERTY_EXCEPTION GENICAM_EXCEPTION_OF(PropertyException)
#define RUNTIME_EXCEPTION GENICAM_EXCEPTION_OF(RuntimeException)
#define LOGICAL_ERROR_EXCEPTION GENICAM_EXCEPTION_OF(LogicalErrorException)
#define ACCESS_EXCEPTION GENICAM_EXCEPTION_OF(AccessException)
#define TIMEOUT_EXCEPTION GENICAM_EXCEPTION_OF(TimeoutException)
#define DYNAMICCAST_EXCEPTION GENICAM_EXCEPTION_OF(DynamicCastException)

/// The same from inside a node:
/// `throw GENICAM_NODE_EXCEPTION(AccessException, entryPoint, name)("Node is not writable.");`.
#define GENICAM_NODE_EXCEPTION(Type, entryPoint, errorNodeName)                                                        \
    GenICam::ExceptionReporter<GenICam::Type>(__FILE__, __LINE__, entryPoint, errorNodeName, #Type).Report

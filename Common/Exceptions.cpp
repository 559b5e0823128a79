#include "Common/Exceptions.h"

#include <utility>

KorvanExceptionBase::KorvanExceptionBase(std::string sourceFile, int sourceLine, std::wstring text)
    : file(std::move(sourceFile)), line(sourceLine), message(std::move(text)) {}

KorvanExceptionBase::KorvanExceptionBase(std::wstring text) : KorvanExceptionBase({}, 0, std::move(text)) {}

// The destructors stand here so that each class has its type information in this one library.
KorvanExceptionBase::KorvanExceptionBase(const KorvanExceptionBase&) = default;
KorvanExceptionBase::KorvanExceptionBase(KorvanExceptionBase&&) noexcept = default;
KorvanExceptionBase& KorvanExceptionBase::operator=(const KorvanExceptionBase&) = default;
KorvanExceptionBase& KorvanExceptionBase::operator=(KorvanExceptionBase&&) noexcept = default;
KorvanExceptionBase::~KorvanExceptionBase() = default;
KorvanExceptionRuntime::~KorvanExceptionRuntime() = default;
KorvanException::~KorvanException() = default;
KorvanIndexOutOfBoundsException::~KorvanIndexOutOfBoundsException() = default;
KorvanParseException::~KorvanParseException() = default;
KorvanTimedOutException::~KorvanTimedOutException() = default;

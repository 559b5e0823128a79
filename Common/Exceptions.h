#pragma once

#include <string>

#include "Common/Export.h"

/// The root of the host's exception family. It has no standard base class, so
/// `catch (const std::exception&)` does not see it.
///
/// The message is wide text; file is the fixed name of the source that raised
/// it (not a path of the machine that built it), line a line number or 0.
class JSONDEVICE_EXPORT KorvanExceptionBase {
public:
    KorvanExceptionBase(std::string file, int line, std::wstring message);
    /// For the few places that give a message and no position: file empty, line 0.
    explicit KorvanExceptionBase(std::wstring message);
    KorvanExceptionBase(const KorvanExceptionBase&);
    KorvanExceptionBase(KorvanExceptionBase&&) noexcept;
    KorvanExceptionBase& operator=(const KorvanExceptionBase&);
    KorvanExceptionBase& operator=(KorvanExceptionBase&&) noexcept;
    virtual ~KorvanExceptionBase();

    const std::wstring& getMessage() const noexcept { return message; }
    const std::string& getFile() const noexcept { return file; }
    int getLine() const noexcept { return line; }

private:
    std::string file;
    int line;
    std::wstring message;
};

/// A caller used a value in a way that it does not allow.
class JSONDEVICE_EXPORT KorvanExceptionRuntime : public KorvanExceptionBase {
public:
    using KorvanExceptionBase::KorvanExceptionBase;
    ~KorvanExceptionRuntime() override;
};

/// The base of the failures that a host is expected to handle.
class JSONDEVICE_EXPORT KorvanException : public KorvanExceptionBase {
public:
    using KorvanExceptionBase::KorvanExceptionBase;
    ~KorvanException() override;
};

class JSONDEVICE_EXPORT KorvanIndexOutOfBoundsException : public KorvanException {
public:
    using KorvanException::KorvanException;
    ~KorvanIndexOutOfBoundsException() override;
};

/// A text or a value from outside does not have the shape it should have.
class JSONDEVICE_EXPORT KorvanParseException : public KorvanException {
public:
    using KorvanException::KorvanException;
    ~KorvanParseException() override;
};

class JSONDEVICE_EXPORT KorvanTimedOutException : public KorvanException {
public:
    using KorvanException::KorvanException;
    ~KorvanTimedOutException() override;
};

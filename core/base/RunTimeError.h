#pragma once
// The one error type of the system. It carries an error number: either the
// run-time's own numbers (overflow, subscript, type mismatch, file errors) or a
// microscope service's 32-bit failure code, whose last three hexadecimal digits
// ("4BE" limitation, "4B7" time-out) decide what the operator is told.
#include <QString>
#include <cstdint>
#include <exception>
#include <string>

class RunTimeError : public std::exception {
public:
    // The run-time's own error numbers that this system raises or traps.
    enum : int32_t {
        Overflow = 6,
        SubscriptOutOfRange = 9,
        TypeMismatch = 13,
        BadFileNameOrNumber = 52,
        FileAlreadyOpen = 55,
        InputPastEndOfFile = 62,
        PathNotFound = 76,
    };

    // Failure codes of the microscope service (as signed 32-bit words).
    static constexpr int32_t ServiceLimitation = static_cast<int32_t>(0x800404BEu);
    static constexpr int32_t ServiceTimeOut = static_cast<int32_t>(0x800404B7u);
    static constexpr int32_t ServiceFailure = static_cast<int32_t>(0x80004005u);
    static constexpr int32_t ServiceNotConnected = static_cast<int32_t>(0x800404B0u);
    static constexpr int32_t ServiceInvalidArgument = static_cast<int32_t>(0x80070057u);
    static constexpr int32_t ServiceGone = static_cast<int32_t>(0x800706BAu);
    // A change the stand could not keep over a restart (its memory could not
    // be written): the change is undone.
    static constexpr int32_t ServiceNotKept = static_cast<int32_t>(0x8003001Du);

    RunTimeError(int32_t number, QString description)
        : m_number(number), m_description(std::move(description)),
          m_what(m_description.toStdString()) {}

    int32_t number() const { return m_number; }
    QString description() const { return m_description; }

    // The number as upper-case hexadecimal text of its 32-bit pattern ("800404BE").
    QString hexNumber() const {
        return QString::number(static_cast<uint32_t>(m_number), 16).toUpper();
    }
    // The last three hexadecimal digits, which classify a service failure.
    QString hexTail() const { return hexNumber().right(3); }
    bool isLimitation() const { return hexTail() == QLatin1String("4BE"); }
    bool isTimeOut() const { return hexTail() == QLatin1String("4B7"); }

    // The fixed text a trap shows for an operation that failed with this
    // error: "<operation> Limitation" (...4BE), "<operation> TimeOut Error"
    // (...4B7), "<operation> Error" for anything else.
    QString failureText(const QString& operation) const {
        if (isLimitation())
            return operation + QLatin1String(" Limitation");
        if (isTimeOut())
            return operation + QLatin1String(" TimeOut Error");
        return operation + QLatin1String(" Error");
    }

    const char* what() const noexcept override { return m_what.c_str(); }

private:
    int32_t m_number;
    QString m_description;
    std::string m_what;
};

// The same for any failure: only a service's code can be a limitation or a
// time-out.
inline QString failureText(const QString& operation, const std::exception& e) {
    if (const auto* rt = dynamic_cast<const RunTimeError*>(&e))
        return rt->failureText(operation);
    return operation + QLatin1String(" Error");
}

#include "stand/service/BusMessage.h"

#include "core/service/dbus/BusLayout.h"

#include <QStringList>
#include <utility>

BusMessage BusMessage::adopt(DBusMessage* message)
{
    BusMessage m;
    m.m_message = message;
    return m;
}

BusMessage BusMessage::share(DBusMessage* message)
{
    return adopt(message ? dbus_message_ref(message) : nullptr);
}

BusMessage::BusMessage(const BusMessage& other)
    : m_message(other.m_message ? dbus_message_ref(other.m_message) : nullptr) {}

BusMessage::BusMessage(BusMessage&& other) noexcept : m_message(std::exchange(other.m_message, nullptr)) {}

BusMessage& BusMessage::operator=(BusMessage other) noexcept
{
    std::swap(m_message, other.m_message);
    return *this;
}

BusMessage::~BusMessage()
{
    if (m_message)
        dbus_message_unref(m_message);
}

namespace {

template <typename T>
bool appendBasic(DBusMessageIter* out, int type, T value)
{
    return dbus_message_iter_append_basic(out, type, &value);
}

// An array of `elementType` whose elements `each` appends.
template <typename Each>
bool appendArray(DBusMessageIter* out, const char* elementType, Each each)
{
    DBusMessageIter array;
    if (!dbus_message_iter_open_container(out, DBUS_TYPE_ARRAY, elementType, &array))
        return false;
    const bool ok = each(&array);
    return dbus_message_iter_close_container(out, &array) && ok;
}

// An array of numbers of the D-Bus type `type` (ai, ad).
template <typename T>
bool appendNumbers(DBusMessageIter* out, int type, const QVariantList& values)
{
    const char signature[] = {char(type), 0};
    return appendArray(out, signature, [&](DBusMessageIter* a) {
        for (const QVariant& x : values)
            if (!appendBasic<T>(a, type, x.value<T>()))
                return false;
        return true;
    });
}

bool appendObservation(DBusMessageIter* out, const QVariantList& fields)
{
    DBusMessageIter s;
    if (!dbus_message_iter_open_container(out, DBUS_TYPE_STRUCT, nullptr, &s))
        return false;
    bool ok = true;
    for (int i = 0; i < 11; ++i)
        ok = ok && appendBasic<dbus_int32_t>(&s, DBUS_TYPE_INT32, i < fields.size() ? fields[i].toInt() : 0);
    return dbus_message_iter_close_container(out, &s) && ok;
}

} // namespace

bool appendString(DBusMessageIter* out, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    const char* p = utf8.constData();
    return dbus_message_iter_append_basic(out, DBUS_TYPE_STRING, &p);
}

bool appendValue(DBusMessageIter* out, const QVariant& v, const QByteArray& type)
{
    if (type == "n")
        return appendBasic<dbus_int16_t>(out, DBUS_TYPE_INT16, static_cast<dbus_int16_t>(v.toInt()));
    if (type == "i")
        return appendBasic<dbus_int32_t>(out, DBUS_TYPE_INT32, v.toInt());
    if (type == "t")
        return appendBasic<dbus_uint64_t>(out, DBUS_TYPE_UINT64, v.toULongLong());
    if (type == "d")
        return appendBasic<double>(out, DBUS_TYPE_DOUBLE, v.toDouble());
    if (type == "b")
        return appendBasic<dbus_bool_t>(out, DBUS_TYPE_BOOLEAN, v.toBool());
    if (type == "s")
        return appendString(out, v.toString());
    if (type == "o") {
        const QByteArray path = v.toString().toUtf8();
        const char* p = path.constData();
        return dbus_message_iter_append_basic(out, DBUS_TYPE_OBJECT_PATH, &p);
    }
    if (type == "as")
        return appendArray(out, "s", [&](DBusMessageIter* a) {
            for (const QString& s : v.toStringList())
                if (!appendString(a, s))
                    return false;
            return true;
        });
    if (type == "ai")
        return appendNumbers<dbus_int32_t>(out, DBUS_TYPE_INT32, v.toList());
    if (type == "ad")
        return appendNumbers<double>(out, DBUS_TYPE_DOUBLE, v.toList());
    if (type == ZentorBus::ObservationSignature.toLatin1())
        return appendObservation(out, v.toList());
    return false;
}

bool appendVariant(DBusMessageIter* out, const QVariant& value, const QByteArray& type)
{
    DBusMessageIter variant;
    if (!dbus_message_iter_open_container(out, DBUS_TYPE_VARIANT, type.constData(), &variant))
        return false;
    const bool ok = appendValue(&variant, value, type);
    return dbus_message_iter_close_container(out, &variant) && ok;
}

namespace {

QVariant readValue(DBusMessageIter* in)
{
    switch (dbus_message_iter_get_arg_type(in)) {
    case DBUS_TYPE_INT16: {
        dbus_int16_t v = 0;
        dbus_message_iter_get_basic(in, &v);
        return QVariant(int(v));
    }
    case DBUS_TYPE_INT32: {
        dbus_int32_t v = 0;
        dbus_message_iter_get_basic(in, &v);
        return QVariant(int(v));
    }
    case DBUS_TYPE_DOUBLE: {
        double v = 0;
        dbus_message_iter_get_basic(in, &v);
        return QVariant(v);
    }
    case DBUS_TYPE_BOOLEAN: {
        dbus_bool_t v = false;
        dbus_message_iter_get_basic(in, &v);
        return QVariant(bool(v));
    }
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH: {
        const char* v = nullptr;
        dbus_message_iter_get_basic(in, &v);
        return QVariant(fromBus(v));
    }
    case DBUS_TYPE_STRUCT: {
        QVariantList fields;
        DBusMessageIter s;
        dbus_message_iter_recurse(in, &s);
        for (; dbus_message_iter_get_arg_type(&s) != DBUS_TYPE_INVALID; dbus_message_iter_next(&s))
            fields << QVariant(readValue(&s).toInt());
        return QVariant(fields);
    }
    default:
        return {};
    }
}

} // namespace

QVariantList standArguments(DBusMessage* call)
{
    QVariantList out;
    DBusMessageIter in;
    if (!dbus_message_iter_init(call, &in))
        return out;
    for (; dbus_message_iter_get_arg_type(&in) != DBUS_TYPE_INVALID; dbus_message_iter_next(&in))
        out << readValue(&in);
    return out;
}

bool firstTexts(DBusMessage* call, int max, QStringList& out)
{
    out.clear();
    DBusMessageIter in;
    if (!dbus_message_iter_init(call, &in) || dbus_message_iter_get_arg_type(&in) != DBUS_TYPE_ARRAY)
        return true;
    DBusMessageIter items;
    dbus_message_iter_recurse(&in, &items);
    for (; dbus_message_iter_get_arg_type(&items) == DBUS_TYPE_STRING; dbus_message_iter_next(&items)) {
        if (out.size() == max)
            return false;
        const char* text = nullptr;
        dbus_message_iter_get_basic(&items, &text);
        out << fromBus(text);
    }
    return true;
}

#include "core/service/dbus/InterfaceFile.h"

#include <QHash>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <cstdio>
#include <cstdlib>

namespace ZentorBus {
InterfaceVersion InterfaceVersion::parse(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,4})\\.(\\d{1,4})$"));
    const QRegularExpressionMatch m = form.match(text);
    if (!m.hasMatch())
        return {};
    return {m.captured(1).toInt(), m.captured(2).toInt()};
}

QString InterfaceVersion::text() const
{
    return QStringLiteral("%1.%2").arg(major).arg(minor);
}

bool InterfaceVersion::atLeast(const InterfaceVersion& other) const
{
    return major > other.major || (major == other.major && minor >= other.minor);
}


QString InterfaceMember::in() const
{
    QString sig;
    for (const InterfaceArg& a : args)
        if (a.direction == QLatin1String("in"))
            sig += a.type;
    return sig;
}

QString InterfaceMember::out() const
{
    QString sig;
    for (const InterfaceArg& a : args)
        if (a.direction != QLatin1String("in"))
            sig += a.type;
    return sig;
}

const InterfaceMember* InterfaceInfo::member(const QString& memberName) const
{
    for (const InterfaceMember& m : members)
        if (m.name == memberName)
            return &m;
    return nullptr;
}

QVector<InterfaceInfo> parseInterfaces(const QString& xml, QString* error)
{
    QVector<InterfaceInfo> interfaces;
    QXmlStreamReader reader(xml);
    QString comment;
    InterfaceInfo* interface = nullptr;
    InterfaceMember* member = nullptr;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::Comment) {
            comment = reader.text().toString().simplified();
        } else if (token == QXmlStreamReader::StartElement) {
            const QStringView tag = reader.name();
            const QXmlStreamAttributes at = reader.attributes();
            if (tag == QLatin1String("interface")) {
                interfaces.append(InterfaceInfo{at.value(QLatin1String("name")).toString(), QString(), {}});
                interface = &interfaces.last();
            } else if (interface && (tag == QLatin1String("method") || tag == QLatin1String("signal"))) {
                InterfaceMember m;
                m.kind = tag == QLatin1String("method") ? InterfaceMember::Kind::Method : InterfaceMember::Kind::Signal;
                m.name = at.value(QLatin1String("name")).toString();
                m.doc = comment;
                interface->members.append(m);
                member = &interface->members.last();
            } else if (member && tag == QLatin1String("arg")) {
                QString direction = at.value(QLatin1String("direction")).toString();
                // A method's argument without a direction goes in (the
                // introspection format's default); a signal's has none.
                if (member->kind == InterfaceMember::Kind::Method && direction.isEmpty())
                    direction = QStringLiteral("in");
                member->args.append({at.value(QLatin1String("name")).toString(),
                                     at.value(QLatin1String("type")).toString(), direction});
            } else if (interface && !member && tag == QLatin1String("annotation") &&
                       at.value(QLatin1String("name")) == VersionAnnotation) {
                interface->version = at.value(QLatin1String("value")).toString();
            } else if (member && tag == QLatin1String("annotation") &&
                       at.value(QLatin1String("name")) == SinceAnnotation) {
                member->since = at.value(QLatin1String("value")).toString();
            }
            comment.clear();
        } else if (token == QXmlStreamReader::EndElement) {
            const QStringView tag = reader.name();
            if (tag == QLatin1String("method") || tag == QLatin1String("signal"))
                member = nullptr;
            else if (tag == QLatin1String("interface"))
                interface = nullptr;
        }
    }
    if (reader.hasError()) {
        if (error)
            *error = QStringLiteral("line %1, column %2: %3")
                         .arg(reader.lineNumber()).arg(reader.columnNumber()).arg(reader.errorString());
        return {};
    }
    return interfaces;
}

const InterfaceInfo& interfaceInfo(const QString& interfaceName)
{
    static const QHash<QString, InterfaceInfo> byName = [] {
        QHash<QString, InterfaceInfo> map;
        for (const InterfaceFileText& file : interfaceFiles()) {
            QString error;
            const QVector<InterfaceInfo> parsed = parseInterfaces(file.text, &error);
            if (parsed.isEmpty()) {
                std::fprintf(stderr, "interface file %s: %s\n", qPrintable(file.fileName), qPrintable(error));
                std::abort();
            }
            for (const InterfaceInfo& i : parsed)
                map.insert(i.name, i);
        }
        return map;
    }();
    const auto it = byName.constFind(interfaceName);
    if (it == byName.constEnd()) {
        std::fprintf(stderr, "no interface file describes %s\n", qPrintable(interfaceName));
        std::abort();
    }
    return *it;
}

namespace {
QString escaped(const QString& text) { return text.toHtmlEscaped(); }
} // namespace

QString introspectionXml(const InterfaceInfo& interface)
{
    QString xml = QStringLiteral("  <interface name=\"%1\">\n").arg(escaped(interface.name));
    if (!interface.version.isEmpty())
        xml += QStringLiteral("    <annotation name=\"%1\" value=\"%2\"/>\n").arg(VersionAnnotation, escaped(interface.version));
    for (const InterfaceMember& m : interface.members) {
        const QString tag = m.kind == InterfaceMember::Kind::Method ? QStringLiteral("method") : QStringLiteral("signal");
        if (m.args.isEmpty() && m.since.isEmpty()) {
            xml += QStringLiteral("    <%1 name=\"%2\"/>\n").arg(tag, escaped(m.name));
            continue;
        }
        xml += QStringLiteral("    <%1 name=\"%2\">\n").arg(tag, escaped(m.name));
        if (!m.since.isEmpty())
            xml += QStringLiteral("      <annotation name=\"%1\" value=\"%2\"/>\n").arg(SinceAnnotation, escaped(m.since));
        for (const InterfaceArg& a : m.args) {
            xml += QStringLiteral("      <arg name=\"%1\" type=\"%2\"").arg(escaped(a.name), escaped(a.type));
            if (!a.direction.isEmpty())
                xml += QStringLiteral(" direction=\"%1\"").arg(a.direction);
            xml += QStringLiteral("/>\n");
        }
        xml += QStringLiteral("    </%1>\n").arg(tag);
    }
    xml += QStringLiteral("  </interface>\n");
    return xml;
}

InterfaceInfo asOfVersion(const InterfaceInfo& file, const InterfaceVersion& version)
{
    const InterfaceVersion own = InterfaceVersion::parse(file.version);
    if (!version.valid() || version.major != own.major || version.atLeast(own))
        return file;
    InterfaceInfo older{file.name, version.text(), {}};
    for (const InterfaceMember& m : file.members)
        if (m.since.isEmpty() || version.atLeast(InterfaceVersion::parse(m.since)))
            older.members.append(m);
    return older;
}

namespace {

QString kindText(const InterfaceMember& m)
{
    return m.kind == InterfaceMember::Kind::Method ? QStringLiteral("method") : QStringLiteral("signal");
}

QString shown(const QString& signature) { return signature.isEmpty() ? QStringLiteral("nothing") : "'" + signature + "'"; }

} // namespace

QStringList interfaceDifferences(const InterfaceInfo& file, const InterfaceInfo& served, Agreement how)
{
    QStringList out;
    if (how == Agreement::Exact && file.version != served.version)
        out << QStringLiteral("version %1 where the file says %2")
                   .arg(served.version.isEmpty() ? QStringLiteral("(none)") : served.version, file.version);
    for (const InterfaceMember& want : file.members) {
        const InterfaceMember* got = served.member(want.name);
        if (!got || got->kind != want.kind) {
            out << QStringLiteral("missing %1 %2").arg(kindText(want), want.name);
            continue;
        }
        if (got->in() != want.in())
            out << QStringLiteral("%1 %2 takes %3 where the file says %4")
                       .arg(kindText(want), want.name, shown(got->in()), shown(want.in()));
        if (got->out() != want.out())
            out << QStringLiteral("%1 %2 %3 %4 where the file says %5")
                       .arg(kindText(want), want.name,
                            want.kind == InterfaceMember::Kind::Method ? QStringLiteral("answers") : QStringLiteral("carries"),
                            shown(got->out()), shown(want.out()));
        if (how == Agreement::Exact && got->in() == want.in() && got->out() == want.out()) {
            for (int i = 0; i < want.args.size() && i < got->args.size(); ++i)
                if (want.args[i].name != got->args[i].name)
                    out << QStringLiteral("%1 %2: argument %3 is named '%4' where the file says '%5'")
                               .arg(kindText(want), want.name).arg(i + 1).arg(got->args[i].name, want.args[i].name);
        }
    }
    for (const InterfaceMember& extra : served.members)
        if (!file.member(extra.name))
            out << QStringLiteral("%1 %2 is not in the file").arg(kindText(extra), extra.name);
    return out;
}

} // namespace ZentorBus

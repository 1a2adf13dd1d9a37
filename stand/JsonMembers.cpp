#include "stand/JsonMembers.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

qsizetype skipBlanks(const QByteArray& t, qsizetype i) {
    while (i < t.size() && isBlank(t[i])) ++i;
    return i;
}

// Just past the string that opens at i, or -1 when the text ends inside it.
qsizetype pastString(const QByteArray& t, qsizetype i) {
    for (++i; i < t.size(); ++i) {
        if (t[i] == '\\') ++i;
        else if (t[i] == '"') return i + 1;
    }
    return -1;
}

// Just past the value that starts at i, or -1 when the text ends inside it.
qsizetype pastValue(const QByteArray& t, qsizetype i) {
    if (i >= t.size()) return -1;
    if (t[i] == '"') return pastString(t, i);
    if (t[i] == '{' || t[i] == '[') {
        int depth = 0;
        while (i < t.size()) {
            const char c = t[i];
            if (c == '"') {
                i = pastString(t, i);
                if (i < 0) return -1;
                continue;
            }
            if (c == '{' || c == '[') ++depth;
            else if ((c == '}' || c == ']') && --depth == 0) return i + 1;
            ++i;
        }
        return -1;
    }
    // A number or a word: up to the mark that ends it.
    while (i < t.size() && t[i] != ',' && t[i] != '}' && t[i] != ']') ++i;
    return i < t.size() ? i : -1;
}

QByteArray trimmed(const QByteArray& b) { return b.trimmed(); }

} // namespace

const JsonMember* JsonMembers::find(const QString& key) const {
    for (const JsonMember& m : members)
        if (m.key == key) return &m;
    return nullptr;
}

JsonMembers splitJsonObject(const QByteArray& t) {
    JsonMembers r;
    qsizetype i = skipBlanks(t, 0);
    if (i >= t.size() || t[i] != '{') return r;
    r.isObject = true;
    i = skipBlanks(t, i + 1);
    if (i < t.size() && t[i] == '}') {
        r.complete = true;
        r.trailing = skipBlanks(t, i + 1) < t.size();
        return r;
    }
    for (;;) {
        if (i >= t.size() || t[i] != '"') return r;
        const qsizetype keyEnd = pastString(t, i);
        if (keyEnd < 0) return r;
        const QJsonArray key = QJsonDocument::fromJson('[' + t.mid(i, keyEnd - i) + ']').array();
        if (key.size() != 1 || !key[0].isString()) return r;
        i = skipBlanks(t, keyEnd);
        if (i >= t.size() || t[i] != ':') return r;
        i = skipBlanks(t, i + 1);
        const qsizetype end = pastValue(t, i);
        if (end < 0) {
            r.members.push_back({key[0].toString(), trimmed(t.mid(i)), false});
            return r;
        }
        r.members.push_back({key[0].toString(), trimmed(t.mid(i, end - i)), true});
        i = skipBlanks(t, end);
        if (i < t.size() && t[i] == ',') {
            i = skipBlanks(t, i + 1);
            continue;
        }
        if (i < t.size() && t[i] == '}') {
            r.complete = true;
            r.trailing = skipBlanks(t, i + 1) < t.size();
        }
        return r;
    }
}

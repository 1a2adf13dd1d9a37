#pragma once
// The members of a JSON object's text, each with the text of its value as it
// stands, unjudged: strings and nesting are followed, numbers and words are
// not read. So a value that is no JSON (a NaN, a number beyond any double, a
// torn end) costs its own member alone; the caller parses each value by
// itself.
#include <QByteArray>
#include <QString>
#include <QVector>

struct JsonMember {
    QString key;
    QByteArray value;   // the value's text, without the blanks around it
    bool whole = true;  // false: the text ended inside this value
};

struct JsonMembers {
    bool isObject = false;  // the text begins, after blanks, with "{"
    bool complete = false;  // its members were found in order up to its "}"
    bool trailing = false;  // something other than blanks follows that "}"
    QVector<JsonMember> members;

    // The value of the first member named `key`, or nullptr.
    const JsonMember* find(const QString& key) const;
};

JsonMembers splitJsonObject(const QByteArray& text);

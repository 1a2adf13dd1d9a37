#include "state/FormRegistry.h"

#include <QHash>
#include <algorithm>
#include <QMetaObject>
#include <QPointer>
#include <QVector>

namespace FormRegistry {
namespace {

struct Entry {
    QString name;
    QPointer<QWidget> form;
};

QVector<Entry>& entries() {
    static QVector<Entry> list;
    return list;
}

QHash<QString, std::function<QWidget*()>>& creators() {
    static QHash<QString, std::function<QWidget*()>> map;
    return map;
}

void prune() {
    auto& list = entries();
    list.erase(std::remove_if(list.begin(), list.end(), [](const Entry& e) { return e.form.isNull(); }),
               list.end());
}

bool invoke(QWidget* form, const char* method, const int* value) {
    if (!form)
        return false;
    if (value)
        return QMetaObject::invokeMethod(form, method, Qt::DirectConnection, Q_ARG(int, *value));
    return QMetaObject::invokeMethod(form, method, Qt::DirectConnection);
}

} // namespace

void add(const QString& name, QWidget* form) {
    remove(name);
    if (form)
        entries().append({name, form});
}

void remove(const QString& name) {
    auto& list = entries();
    list.erase(std::remove_if(list.begin(), list.end(),
                              [&](const Entry& e) { return e.name == name || e.form.isNull(); }),
               list.end());
}

QWidget* loaded(const QString& name) {
    for (const Entry& e : entries())
        if (e.name == name && !e.form.isNull())
            return e.form.data();
    return nullptr;
}

bool isVisible(const QString& name) {
    QWidget* form = loaded(name);
    return form && form->isVisible();
}

void setCreator(const QString& name, std::function<QWidget*()> creator) {
    creators().insert(name, std::move(creator));
}

QWidget* instance(const QString& name) {
    if (QWidget* form = loaded(name))
        return form;
    const auto it = creators().constFind(name);
    if (it == creators().constEnd() || !*it)
        return nullptr;
    QWidget* form = (*it)();
    if (form && !loaded(name))
        add(name, form);
    return form;
}

void unload(const QString& name) {
    QWidget* form = loaded(name);
    remove(name);
    if (form) {
        form->hide();
        delete form;
    }
}

QList<QWidget*> loadedForms() {
    prune();
    QList<QWidget*> list;
    for (const Entry& e : entries())
        list << e.form.data();
    return list;
}

QString nameOf(const QWidget* form) {
    for (const Entry& e : entries())
        if (e.form.data() == form)
            return e.name;
    return QString();
}

bool refresh(const QString& name, const char* method) {
    return isVisible(name) && invoke(loaded(name), method, nullptr);
}

bool refresh(const QString& name, const char* method, int value) {
    return isVisible(name) && invoke(loaded(name), method, &value);
}

bool call(const QString& name, const char* method) { return invoke(loaded(name), method, nullptr); }

bool call(const QString& name, const char* method, int value) {
    return invoke(loaded(name), method, &value);
}

} // namespace FormRegistry

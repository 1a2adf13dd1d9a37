#pragma once
// The forms of the panel, each one process-wide instance. A form registers
// itself when it is created and leaves the registry when it is destroyed
// (unloaded). The main window reaches the device panels only through here, so
// that a panel that is closed is never created by a check:
// - loaded(name) answers the form if it exists, and never creates it;
// - instance(name) creates it through the creator its library registered;
// - refresh(name, method, ...) calls a public refresh operation of the form
//   (a slot or Q_INVOKABLE, such as ObjChg_Set(int)) only when the form is
//   loaded and visible.
#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>
#include <functional>

namespace FormRegistry {

// Registers a form under its name (frmSubObj, frmSubZ, ...); it is removed
// automatically when the widget is destroyed. A second form of the same name
// replaces the first in the registry.
void add(const QString& name, QWidget* form);
void remove(const QString& name);

// The form if it is loaded, else nullptr. Never creates.
QWidget* loaded(const QString& name);
bool isVisible(const QString& name);

// How a form is made on first use; its library registers this at start.
void setCreator(const QString& name, std::function<QWidget*()> creator);
// Registers the creator of a form class: a new Form owned by `owner` (the
// main window), or by nothing once the owner is gone.
template <typename Form>
void registerForm(const char* name, QWidget* owner) {
    QPointer<QWidget> guard(owner);
    setCreator(QLatin1String(name), [guard]() -> QWidget* { return new Form(guard.data()); });
}
// The loaded form, or a new one from its creator; nullptr without a creator.
QWidget* instance(const QString& name);

// Unloads (destroys) the form if it is loaded.
void unload(const QString& name);

// The loaded forms in the order they were created.
QList<QWidget*> loadedForms();
QString nameOf(const QWidget* form);

// Calls `method` on the form when it is loaded and visible; answers whether it
// was called. The method takes no argument, or one int.
bool refresh(const QString& name, const char* method);
bool refresh(const QString& name, const char* method, int value);
// The same without the visibility test, on the loaded form only.
bool call(const QString& name, const char* method);
bool call(const QString& name, const char* method, int value);

} // namespace FormRegistry

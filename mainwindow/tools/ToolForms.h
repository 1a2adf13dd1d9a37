#pragma once
// Makes the operator's tool windows known to the form registry (frmEvent,
// frmVersion2, frmCommand), each a tool window of `owner`, the main window.
#include <QString>

class QWidget;

void registerToolForms(QWidget* owner);

// Shows a tool window, loading it first when needed, and brings it to front.
QWidget* showToolForm(const QString& formName);

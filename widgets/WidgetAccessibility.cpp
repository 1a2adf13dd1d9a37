#include "widgets/WidgetAccessibility.h"

#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrXscroll.h"
#include "widgets/usrYscroll.h"

#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QHash>
#include <QKeyEvent>
#include <QPointer>
#include <algorithm>

namespace {

QString ownName(const QWidget* w) { return w->accessibleName(); }

// Presses a widget as the keyboard does: Space down and up.
void pressLikeKeyboard(QWidget* w)
{
    QKeyEvent down(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QKeyEvent up(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QCoreApplication::sendEvent(w, &down);
    QCoreApplication::sendEvent(w, &up);
}

} // namespace

// ---- usrButton: a push button; a latching one is a toggle button ----------
class usrButtonAccessible : public QAccessibleWidget {
public:
    explicit usrButtonAccessible(usrButton* b) : QAccessibleWidget(b, QAccessible::Button)
    {
        addControllingSignal(QStringLiteral("Pressed(int16_t,int16_t,int16_t,float,float)"));
    }
    usrButton* button() const { return static_cast<usrButton*>(widget()); }

    QAccessible::Role role() const override { return QAccessible::Button; }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name) {
            const QString own = ownName(button());
            return own.isEmpty() ? button()->Caption().trimmed() : own;
        }
        return QAccessibleWidget::text(t);
    }
    QAccessible::State state() const override
    {
        QAccessible::State s = QAccessibleWidget::state();
        if (button()->Latching()) {
            s.checkable = true;
            s.checked = button()->Latched();
        }
        if (button()->Locked())
            s.readOnly = true;
        return s;
    }
    QStringList actionNames() const override
    {
        if (!button()->isEnabled() || button()->Locked())
            return {};
        return {pressAction()};
    }
    void doAction(const QString& name) override
    {
        if (name == pressAction() && button()->isEnabled() && !button()->Locked())
            pressLikeKeyboard(button());
    }
};

// ---- usrAddress: a list of positions, each an item that can be pressed ----
class usrAddressItemAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    usrAddressItemAccessible(usrAddress* list, int16_t number) : m_list(list), m_number(number) {}

    bool isValid() const override { return m_list && m_number >= m_list->First() && m_number <= m_list->Last(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return parent() ? parent()->window() : nullptr; }
    QAccessibleInterface* parent() const override { return m_list ? QAccessible::queryAccessibleInterface(m_list) : nullptr; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* focusChild() const override { return nullptr; }
    QString text(QAccessible::Text t) const override
    {
        if (!m_list || t != QAccessible::Name)
            return QString();
        return m_list->Label(m_number).simplified();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override
    {
        if (!m_list)
            return QRect();
        const QRect r = m_list->rowRect(m_number);
        return r.isEmpty() ? QRect() : QRect(m_list->mapToGlobal(r.topLeft()), r.size());
    }
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QAccessible::State state() const override
    {
        QAccessible::State s;
        if (!m_list)
            return s;
        s.selectable = true;
        s.selected = m_list->Address() == m_number;
        s.checkable = true;
        s.checked = s.selected;
        s.invisible = !m_list->isVisible();
        s.disabled = !m_list->isEnabled() || m_list->Mode() != 1;
        return s;
    }
    void* interface_cast(QAccessible::InterfaceType t) override
    {
        return t == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }
    QStringList actionNames() const override
    {
        const QAccessible::State s = state();
        return s.disabled ? QStringList() : QStringList{pressAction()};
    }
    void doAction(const QString& name) override
    {
        if (name == pressAction() && m_list && !state().disabled)
            m_list->pick(m_number);
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    QPointer<usrAddress> m_list;
    int16_t m_number;
};

class usrAddressAccessible : public QAccessibleWidget {
public:
    explicit usrAddressAccessible(usrAddress* a) : QAccessibleWidget(a, QAccessible::List) {}
    ~usrAddressAccessible() override
    {
        for (QAccessible::Id id : std::as_const(m_items))
            QAccessible::deleteAccessibleInterface(id);
    }
    usrAddress* list() const { return static_cast<usrAddress*>(widget()); }

    int childCount() const override { return std::max(0, list()->RowCount()); }
    QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        const int16_t number = int16_t(list()->First() + index);
        auto it = m_items.constFind(number);
        if (it == m_items.constEnd())
            it = m_items.insert(number, QAccessible::registerAccessibleInterface(new usrAddressItemAccessible(list(), number)));
        return QAccessible::accessibleInterface(*it);
    }
    int indexOfChild(const QAccessibleInterface* child) const override
    {
        for (int i = 0; i < childCount(); ++i)
            if (this->child(i) == child)
                return i;
        return -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        for (int i = 0; i < childCount(); ++i)
            if (child(i)->rect().contains(x, y))
                return child(i);
        return nullptr;
    }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Name && ownName(list()).isEmpty())
            return QStringLiteral("Positions");
        if (t == QAccessible::Value)
            return list()->Label(list()->Address()).simplified();
        return QAccessibleWidget::text(t);
    }

private:
    mutable QHash<int16_t, QAccessible::Id> m_items;
};

// ---- the sliders: value and range ------------------------------------------
class usrSliderAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit usrSliderAccessible(usrSliderBase* s) : QAccessibleWidget(s, QAccessible::Slider) {}
    usrSliderBase* slider() const { return static_cast<usrSliderBase*>(widget()); }
    void* interface_cast(QAccessible::InterfaceType t) override
    {
        if (t == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Value)
            return QString::number(slider()->Value());
        return QAccessibleWidget::text(t);
    }
    QVariant currentValue() const override { return slider()->Value(); }
    QVariant maximumValue() const override { return slider()->Max(); }
    QVariant minimumValue() const override { return slider()->Min(); }
    QVariant minimumStepSize() const override { return slider()->Resolution(); }
    // A value set by assistive technology is the operator's gesture: the
    // owner hears Changed as when the thumb is let go there.
    void setCurrentValue(const QVariant& value) override
    {
        usrSliderBase* s = slider();
        if (s->inert())
            return;
        s->setValue(std::clamp(value.toDouble(), std::min(s->Min(), s->Max()), std::max(s->Min(), s->Max())));
        emit s->Changed();
    }
};

class usrYscrollAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit usrYscrollAccessible(usrYscroll* s) : QAccessibleWidget(s, QAccessible::Slider) {}
    usrYscroll* slider() const { return static_cast<usrYscroll*>(widget()); }
    void* interface_cast(QAccessible::InterfaceType t) override
    {
        if (t == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(t);
    }
    QString text(QAccessible::Text t) const override
    {
        if (t == QAccessible::Value)
            return QString::number(slider()->Position());
        return QAccessibleWidget::text(t);
    }
    QVariant currentValue() const override { return slider()->Position(); }
    QVariant maximumValue() const override { return slider()->ScaleMax(); }
    QVariant minimumValue() const override { return slider()->ScaleMin(); }
    QVariant minimumStepSize() const override { return slider()->Resolution(); }
    void setCurrentValue(const QVariant& value) override
    {
        usrYscroll* s = slider();
        if (!s->isEnabled() || s->mode() != 1)
            return;
        const double lo = std::min(s->ScaleMin(), s->ScaleMax());
        const double hi = std::max(s->ScaleMin(), s->ScaleMax());
        s->setPosition(std::clamp(value.toDouble(), lo, hi));
        emit s->ThumbReleased();
    }
};

// ---- PanelLabel: text with its prefix; an activatable one is a button ------
class PanelLabelAccessible : public QAccessibleWidget {
public:
    explicit PanelLabelAccessible(PanelLabel* l) : QAccessibleWidget(l, QAccessible::StaticText) {}
    PanelLabel* label() const { return static_cast<PanelLabel*>(widget()); }
    QAccessible::Role role() const override
    {
        return label()->Activatable() ? QAccessible::Button : QAccessible::StaticText;
    }
    QString text(QAccessible::Text t) const override
    {
        if (t != QAccessible::Name)
            return QAccessibleWidget::text(t);
        const QString own = ownName(label());
        if (!own.isEmpty())
            return own;
        const QString shown = label()->Caption().simplified();
        const QString prefix = label()->AccessiblePrefix();
        if (prefix.isEmpty())
            return shown;
        return shown.isEmpty() ? prefix : prefix + QLatin1Char(' ') + shown;
    }
    QStringList actionNames() const override
    {
        return label()->Activatable() && label()->isEnabled() ? QStringList{pressAction()} : QStringList();
    }
    void doAction(const QString& name) override
    {
        if (name == pressAction() && label()->Activatable() && label()->isEnabled())
            pressLikeKeyboard(label());
    }
};

namespace {

QAccessibleInterface* familyFactory(const QString& key, QObject* object)
{
    if (!object || !object->isWidgetType())
        return nullptr;
    if (key == QLatin1String("usrButton"))
        return new usrButtonAccessible(static_cast<usrButton*>(object));
    if (key == QLatin1String("usrAddress"))
        return new usrAddressAccessible(static_cast<usrAddress*>(object));
    if (key == QLatin1String("usrSliderBase"))
        return new usrSliderAccessible(static_cast<usrSliderBase*>(object));
    if (key == QLatin1String("usrYscroll"))
        return new usrYscrollAccessible(static_cast<usrYscroll*>(object));
    // The drawings the operator clicks in (light path, stage): a diagram
    // named by its owner.
    if (key == QLatin1String("usrPath_M") || key == QLatin1String("usrPath") || key == QLatin1String("usrStage"))
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Canvas);
    // A window made of a plain QWidget (the main window, a sub-panel) is a
    // window to assistive technology, named by its title.
    if (key == QLatin1String("QWidget") && static_cast<QWidget*>(object)->isWindow())
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Window);
    if (key == QLatin1String("PanelLabel"))
        return new PanelLabelAccessible(static_cast<PanelLabel*>(object));
    return nullptr;
}

} // namespace

namespace zentor::accessibility {

void install()
{
    static const bool installed = [] {
        QAccessible::installFactory(familyFactory);
        return true;
    }();
    (void)installed;
}

void valueChanged(QObject* control, double value)
{
    if (!QAccessible::isActive())
        return;
    QAccessibleValueChangeEvent event(control, value);
    QAccessible::updateAccessibility(&event);
}

} // namespace zentor::accessibility

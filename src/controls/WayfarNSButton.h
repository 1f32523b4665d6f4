#pragma once

#include <QPushButton>

// A push button that carries the name of the preference it edits.
class WayfarNSButton : public QPushButton
{
    Q_OBJECT
    Q_PROPERTY(QString buttonType READ buttonType WRITE setButtonType)

public:
    using QPushButton::QPushButton;

    QString buttonType() const { return m_buttonType; } // null when it was given none
    void setButtonType(const QString &buttonType) { m_buttonType = buttonType; }

private:
    QString m_buttonType;
};

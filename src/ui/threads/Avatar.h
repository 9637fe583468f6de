#pragma once

#include "mail/EmailAddress.h"

#include <QWidget>

#include <optional>

class QPainter;

// A person's round avatar: a circle in the hue of the address with its initials, or a neutral
// circle without an address.
namespace Avatar {
void paint(QPainter* painter, const QRect& rect, const std::optional<EmailAddress>& address,
           const QPalette& palette);
}

class AvatarView : public QWidget
{
    Q_OBJECT
public:
    AvatarView(int size, QWidget* parent = nullptr);
    void setAddress(const std::optional<EmailAddress>& address);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<EmailAddress> m_address;
};

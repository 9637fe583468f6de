#include "Avatar.h"

#include "content/EmailAddresses.h"

#include <QPainter>

namespace Avatar {

void paint(QPainter* painter, const QRect& rect, const std::optional<EmailAddress>& address,
           const QPalette& palette)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor fill =
        address ? QColor::fromHslF(float(EmailAddresses::avatarHue(*address)), 0.45f, 0.55f)
                : palette.color(QPalette::Mid);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawEllipse(rect);
    if (address) {
        QFont font = painter->font();
        font.setPixelSize(qMax(8, rect.height() * 2 / 5));
        font.setWeight(QFont::DemiBold);
        painter->setFont(font);
        painter->setPen(Qt::white);
        painter->drawText(rect, Qt::AlignCenter, EmailAddresses::initials(*address));
    }
    painter->restore();
}

} // namespace Avatar

AvatarView::AvatarView(int size, QWidget* parent) : QWidget(parent)
{
    setFixedSize(size, size);
}

void AvatarView::setAddress(const std::optional<EmailAddress>& address)
{
    if (m_address == address)
        return;
    m_address = address;
    setAccessibleName(address ? EmailAddresses::displayName(*address) : QString());
    update();
}

void AvatarView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    Avatar::paint(&painter, rect(), m_address, palette());
}

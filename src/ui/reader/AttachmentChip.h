#pragma once

#include "mail/Email.h"

#include <QMimeData>
#include <QPointer>
#include <QToolButton>

#include <optional>

class AppState;

// What a dragged attachment offers: a file URL, fetched into the attachment cache only when
// the drop target asks for the data, so a drag that is given up downloads nothing.
class AttachmentMimeData : public QMimeData
{
    Q_OBJECT
public:
    AttachmentMimeData(AppState* state, BodyPart part);

    QStringList formats() const override;
    bool hasFormat(const QString& mimeType) const override;
    // How often the file was asked for; a drop asks once, a cancelled drag never.
    int fetches() const { return m_fetches; }

protected:
    QVariant retrieveData(const QString& mimeType, QMetaType type) const override;

private:
    std::optional<QString> fetch() const;

    QPointer<AppState> m_state;
    BodyPart m_part;
    mutable std::optional<QString> m_path;
    mutable int m_fetches = 0;
};

// One received attachment under a message: a click previews it, a drag copies it out, the
// context menu saves it to Downloads.
class AttachmentChip : public QToolButton
{
    Q_OBJECT
public:
    AttachmentChip(AppState* state, BodyPart part, QWidget* parent = nullptr);
    const BodyPart& part() const { return m_part; }
    // The data a drag of this chip carries.
    AttachmentMimeData* dragData() const;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QPointer<AppState> m_state;
    BodyPart m_part;
    QPoint m_pressPosition;
};

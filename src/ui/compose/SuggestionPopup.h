#pragma once

#include "mail/EmailAddress.h"

#include <QList>
#include <QWidget>

// The completion list of a recipient field, drawn inside the compose window just under the
// field and exactly as wide, so that it never takes the focus from the field.
class SuggestionPopup : public QWidget
{
    Q_OBJECT
public:
    explicit SuggestionPopup(QWidget* window);

    // Shows the rows under `anchor` (a descendant of the window), or hides when there are none.
    void show(const QList<EmailAddress>& suggestions, int highlighted, QWidget* anchor);
    void dismiss();

    const QList<EmailAddress>& suggestions() const { return m_suggestions; }
    int highlighted() const { return m_highlighted; }
    // The rectangle of one row, in this widget's coordinates.
    QRect rowRect(int row) const;

Q_SIGNALS:
    void rowClicked(int row);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    int rowHeight() const;

    QList<EmailAddress> m_suggestions;
    int m_highlighted = 0;
};

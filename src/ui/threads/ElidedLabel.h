#pragma once

#include <QLabel>

// A one-line label that ends in "…" where its text does not fit, instead of cutting it off;
// the whole text stays in the tool tip and the accessible name.
class ElidedLabel : public QLabel
{
    Q_OBJECT
public:
    explicit ElidedLabel(QWidget* parent = nullptr);
    void setFullText(const QString& text);
    const QString& fullText() const { return m_text; }
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void elide();
    QString m_text;
};

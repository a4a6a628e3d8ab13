#include "reporting/editor/LayoutFields.h"

namespace qm {

QLineEdit *layoutField(QWidget *page, const char *objectName, const QString &label)
{
    auto line = new QLineEdit(page);
    line->setObjectName(QLatin1String(objectName));
    line->setAccessibleName(label);
    return line;
}

QLabel *layoutHint(const QString &text, QWidget *page)
{
    auto label = new QLabel(text, page);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace qm

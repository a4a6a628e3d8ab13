/// \file
/// Cells whose text runs from left to right in every language.
#pragma once

#include <QGuiApplication>
#include <QStyledItemDelegate>

namespace qm {

/// Shows paths, dates and times in a window that is laid out from right to left without taking them apart.
class LeftToRightDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QString displayText(const QVariant &value, const QLocale &locale) const override
    {
        constexpr char16_t kEmbed = u'\u202a', kEnd = u'\u202c';
        const QString text = QStyledItemDelegate::displayText(value, locale);
        return QGuiApplication::isRightToLeft() && !text.isEmpty() ? kEmbed + text + kEnd : text;
    }
};

} // namespace qm

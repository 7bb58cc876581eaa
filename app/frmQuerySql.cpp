#include "app/frmQuerySql.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QKeySequence>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace ql::app {

namespace {
constexpr int kTabWidthInCharacters = 4;

// By the glyphs, not the font's flag: fontconfig calls some monospaced
// fonts "dual" width, and Qt then says they are not fixed.
bool monospaced(const QFont& font) {
    const QFontMetricsF metrics(font);
    return metrics.horizontalAdvance(QLatin1Char('i')) == metrics.horizontalAdvance(QLatin1Char('W'));
}
}  // namespace

frmQuerySql::frmQuerySql(const QString& queryName, const QString& sql, QWidget* parent)
    : QWidget(parent, Qt::Window), queryName_(queryName) {
    setObjectName(QStringLiteral("frmQuerySql"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(queryName);

    auto* layout = new QVBoxLayout(this);
    txtSql_ = new QPlainTextEdit(this);
    txtSql_->setObjectName(QStringLiteral("txtSql"));
    txtSql_->setReadOnly(true);
    // Long lines stay whole: the layout's own breaks are what the reader needs.
    txtSql_->setLineWrapMode(QPlainTextEdit::NoWrap);
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // Without a desktop theme the "fixed" font can be any font; ask
    // fontconfig for its monospaced one then.
    if (!monospaced(fixed)) {
        fixed.setFamily(QStringLiteral("monospace"));
        fixed.setStyleHint(QFont::TypeWriter);
        fixed.setFixedPitch(true);
    }
    txtSql_->setFont(fixed);
    txtSql_->setTabStopDistance(QFontMetricsF(fixed).horizontalAdvance(QLatin1Char(' ')) * kTabWidthInCharacters);
    auto text = sql;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    txtSql_->setPlainText(text);
    layout->addWidget(txtSql_, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QWidget::close);
    layout->addWidget(buttons);
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(escape, &QShortcut::activated, this, &QWidget::close);

    resize(640, 420);
}

}  // namespace ql::app

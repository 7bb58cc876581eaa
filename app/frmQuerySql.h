#pragma once
// A read-only window with one saved query's SQL, laid out for reading and
// set in a fixed-width font so that the indented lines line up. Opened by a
// double click on a row of the queries grid.
#include <QWidget>

class QPlainTextEdit;

namespace ql::app {

class frmQuerySql : public QWidget {
    Q_OBJECT
public:
    // `sql` is already laid out; its CR LF line breaks are shown as lines.
    frmQuerySql(const QString& queryName, const QString& sql, QWidget* parent = nullptr);

    QString queryName() const { return queryName_; }
    QPlainTextEdit* txtSql() const { return txtSql_; }

private:
    QString queryName_;
    QPlainTextEdit* txtSql_ = nullptr;
};

}  // namespace ql::app

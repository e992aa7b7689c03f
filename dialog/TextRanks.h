#ifndef DIALOG_TEXTRANKS_H
#define DIALOG_TEXTRANKS_H

#include <QtCore/QVector>

class HdfsFileSystemModel;

/// The order of a directory's rows by the texts of one column, without regard to case. A number per row stands for its
/// text: to sort a hundred thousand rows takes millions of comparisons, and the model makes its texts when asked.
class TextRanks
{
public:
    TextRanks() : m_model(nullptr), m_column(-1), m_revision(0) {}

    /// Whether the text (Qt::UserRole) of row `left` comes before that of row `right`. Looks at all rows the first
    /// time, and again when the model has changed or the column is another one.
    bool isLess(const HdfsFileSystemModel &model, int column, int left, int right);

private:
    void rank(const HdfsFileSystemModel &model, int column);

    const HdfsFileSystemModel *m_model;
    int m_column;
    quint64 m_revision; ///< the model's when the rows were ranked
    QVector<int> m_ranks;
};

#endif

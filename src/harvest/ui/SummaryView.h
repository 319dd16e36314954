#pragma once
// Bar charts of what the contacts table shows: contacts per domain (the
// twenty most frequent) and per kind, the sources by kind with the problem
// count. They follow the table's filter, recounted at most four times a
// second and only while the charts are on screen.
#include <QString>
#include <QTimer>
#include <QWidget>
#include <map>
#include <utility>
#include <vector>

#include "HarvestForm.h"

class QChart;
class QChartView;

namespace harvest {

struct SummaryCounts {
    int contacts = 0;
    std::vector<std::pair<QString, int>> domains;  // most contacts first, then by name
    std::map<QString, int> kinds;
    std::map<QString, int> sources;  // by kind name
    int problems = 0;
};

// Counts the rows `view` shows; `topDomains` bounds the domains kept.
SummaryCounts CountSummary(const ContactFilterModel& view, const ContactTableModel& contacts,
                           const std::vector<SourceInfo>& sourcesRead, std::size_t problems,
                           std::size_t topDomains = 20);

class SummaryView : public QWidget {
    Q_OBJECT
public:
    explicit SummaryView(HarvestForm& form, QWidget* parent = nullptr);

    // Recounts soon (within a quarter of a second), once however often asked.
    void scheduleUpdate();
    // Recounts now.
    void refresh();
    const SummaryCounts& counts() const { return counts_; }

signals:
    void updated();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QChartView* addChart(const char* name, const QString& title);
    void draw();

    HarvestForm& form_;
    QTimer timer_;
    bool stale_ = true;
    SummaryCounts counts_;
    QChartView* domains_;
    QChartView* kinds_;
    QChartView* sources_;  // with the problem count as its last bar
};

}  // namespace harvest

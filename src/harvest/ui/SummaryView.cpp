#include "SummaryView.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QFont>
#include <QGridLayout>
#include <QHorizontalBarSeries>
#include <QValueAxis>
#include <algorithm>
#include <unordered_map>

namespace harvest {

namespace {

constexpr int kIntervalMs = 250;

// Replaces what `view` shows with one bar per entry. Horizontal bars leave
// room for long names (domains) in small charts.
void DrawBars(QChartView* view, const std::vector<std::pair<QString, int>>& bars, bool horizontal) {
    QChart* chart = view->chart();
    chart->removeAllSeries();
    for (QAbstractAxis* axis : chart->axes()) {
        chart->removeAxis(axis);
        delete axis;
    }
    auto* set = new QBarSet("Count");
    QStringList names;
    int most = 0;
    // A horizontal chart draws its first category at the bottom; the largest
    // goes on top.
    std::vector<std::pair<QString, int>> order = bars;
    if (horizontal) {
        std::reverse(order.begin(), order.end());
    }
    for (const auto& [name, count] : order) {
        names << name;
        *set << count;
        most = std::max(most, count);
    }
    QAbstractBarSeries* series = horizontal
                                     ? static_cast<QAbstractBarSeries*>(new QHorizontalBarSeries)
                                     : static_cast<QAbstractBarSeries*>(new QBarSeries);
    series->append(set);
    series->setLabelsVisible(true);
    chart->addSeries(series);
    auto* categories = new QBarCategoryAxis;
    categories->append(names);
    // Twenty domains in a small chart: names are shown whole, in a smaller
    // face, rather than cut to "...".
    categories->setTruncateLabels(false);
    if (names.size() > 8) {
        QFont font = categories->labelsFont();
        font.setPointSizeF(font.pointSizeF() * 0.8);
        categories->setLabelsFont(font);
    }
    // Whole-number ticks, about four of them.
    const int step = std::max(1, (most + 3) / 4);
    auto* values = new QValueAxis;
    values->setTickType(QValueAxis::TicksDynamic);
    values->setTickAnchor(0);
    values->setTickInterval(step);
    values->setRange(0, step * (most / step + 1));
    values->setLabelFormat("%d");
    chart->addAxis(categories, horizontal ? Qt::AlignLeft : Qt::AlignBottom);
    chart->addAxis(values, horizontal ? Qt::AlignBottom : Qt::AlignLeft);
    series->attachAxis(categories);
    series->attachAxis(values);
}

std::vector<std::pair<QString, int>> Bars(const std::map<QString, int>& counts) {
    return {counts.begin(), counts.end()};
}

}  // namespace

SummaryCounts CountSummary(const ContactFilterModel& view, const ContactTableModel& contacts,
                           const std::vector<SourceInfo>& sourcesRead, std::size_t problems,
                           std::size_t topDomains) {
    SummaryCounts c;
    std::unordered_map<std::string, int> domains;
    std::unordered_map<std::string, int> kinds;
    const int rows = view.rowCount();
    for (int row = 0; row < rows; ++row) {
        const int sourceRow = view.mapToSource(view.index(row, 0)).row();
        if (sourceRow < 0) {
            continue;
        }
        const Contact& contact = contacts.contact(sourceRow);
        ++c.contacts;
        ++kinds[contact.kind];
        if (!contact.domain.empty()) {
            ++domains[contact.domain];
        }
    }
    for (const auto& [kind, count] : kinds) {
        c.kinds[QString::fromStdString(kind)] = count;
    }
    std::vector<std::pair<std::string, int>> ranked(domains.begin(), domains.end());
    std::sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) {
        return a.second != b.second ? a.second > b.second : a.first < b.first;
    });
    ranked.resize(std::min(ranked.size(), topDomains));
    for (const auto& [domain, count] : ranked) {
        c.domains.emplace_back(QString::fromStdString(domain), count);
    }
    for (const SourceInfo& s : sourcesRead) {
        ++c.sources[QString::fromStdString(s.kind)];
    }
    c.problems = static_cast<int>(problems);
    return c;
}

SummaryView::SummaryView(HarvestForm& form, QWidget* parent) : QWidget(parent), form_(form) {
    setObjectName("summary");
    auto* grid = new QGridLayout(this);
    domains_ = addChart("chartDomains", "Contacts per domain (top 20)");
    kinds_ = addChart("chartKinds", "Contacts per kind");
    sources_ = addChart("chartSources", "Sources by kind, and problems");
    grid->addWidget(domains_, 0, 0, 2, 1);
    grid->addWidget(kinds_, 0, 1);
    grid->addWidget(sources_, 1, 1);
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);

    timer_.setSingleShot(true);
    timer_.setInterval(kIntervalMs);
    connect(&timer_, &QTimer::timeout, this, [this] {
        if (isVisible()) {
            refresh();
        } else {
            stale_ = true;
        }
    });
    QAbstractItemModel* view = &form_.view();
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved}) {
        connect(view, signal, this, &SummaryView::scheduleUpdate);
    }
    connect(view, &QAbstractItemModel::modelReset, this, &SummaryView::scheduleUpdate);
    connect(view, &QAbstractItemModel::layoutChanged, this, &SummaryView::scheduleUpdate);
    connect(view, &QAbstractItemModel::dataChanged, this, &SummaryView::scheduleUpdate);
    connect(&form_, &HarvestForm::sourcesChanged, this, &SummaryView::scheduleUpdate);
    connect(&form_, &HarvestForm::problemsChanged, this, &SummaryView::scheduleUpdate);
}

QChartView* SummaryView::addChart(const char* name, const QString& title) {
    auto* chart = new QChart;
    chart->setTitle(title);
    chart->legend()->hide();
    chart->setAnimationOptions(QChart::NoAnimation);
    auto* view = new QChartView(chart, this);
    view->setObjectName(name);
    view->setAccessibleName(title);
    view->setRenderHint(QPainter::Antialiasing);
    view->setFocusPolicy(Qt::NoFocus);
    view->setMinimumSize(220, 120);
    return view;
}

void SummaryView::scheduleUpdate() {
    if (!timer_.isActive()) {
        timer_.start();
    }
}

void SummaryView::refresh() {
    timer_.stop();
    stale_ = false;
    counts_ =
        CountSummary(form_.view(), form_.contacts(), form_.sourcesRead(), form_.problems().size());
    draw();
    emit updated();
}

void SummaryView::draw() {
    DrawBars(domains_, counts_.domains, true);
    DrawBars(kinds_, Bars(counts_.kinds), true);
    std::vector<std::pair<QString, int>> sources = Bars(counts_.sources);
    sources.emplace_back("Problems", counts_.problems);
    DrawBars(sources_, sources, true);
}

void SummaryView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (stale_) {
        refresh();
    }
}

}  // namespace harvest

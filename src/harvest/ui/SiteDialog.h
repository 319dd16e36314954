#pragma once
// Asks for a web site to harvest: its start address and how politely it is
// crawled (depth, pages, scope, delay, requests at once per host, robots.txt).
// Enter accepts, Escape cancels.
#include <QDialog>

#include "HarvestForm.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QSpinBox;

namespace harvest {

class SiteDialog : public QDialog {
    Q_OBJECT
public:
    SiteDialog(const SitePoliteness& politeness, QWidget* parent = nullptr);

    QString url() const;
    SitePoliteness politeness() const;

private:
    QLineEdit* url_;
    QSpinBox* depth_;
    QSpinBox* pages_;
    QComboBox* scope_;
    QDoubleSpinBox* delay_;
    QSpinBox* perHost_;
    QCheckBox* robots_;
};

}  // namespace harvest

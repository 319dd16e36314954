#include "SiteDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace harvest {

namespace {

// The scopes in the order the box lists them.
const std::pair<CrawlScope, const char*> kScopes[] = {
    {CrawlScope::Host, "Host: the start address's host only"},
    {CrawlScope::Domain, "Domain: the host's domain and its subdomains"},
    {CrawlScope::Prefix, "Prefix: the start address's folder and below"},
    {CrawlScope::Any, "Any: every site the pages link to"},
};

// A field with a label whose letter moves the focus to it.
template <typename W>
W* AddRow(QFormLayout* form, const QString& label, W* field, const char* name, const QString& tip) {
    field->setObjectName(name);
    field->setToolTip(tip);
    auto* caption = new QLabel(label);
    caption->setBuddy(field);
    form->addRow(caption, field);
    return field;
}

}  // namespace

SiteDialog::SiteDialog(const SitePoliteness& politeness, QWidget* parent) : QDialog(parent) {
    setObjectName("SiteDialog");
    setWindowTitle("Add Web Site");
    auto* form = new QFormLayout;

    url_ = AddRow(form, "Start &address:", new QLineEdit(this), "siteUrl",
                  "The page where the crawl starts, an http or https address");
    url_->setPlaceholderText("https://www.example.org/");
    depth_ = AddRow(form, "Link &depth:", new QSpinBox(this), "siteDepth",
                    "How many links away from the start page the crawl goes");
    depth_->setRange(0, 50);
    depth_->setValue(politeness.maxDepth);
    pages_ = AddRow(form, "Most &pages:", new QSpinBox(this), "sitePages",
                    "The crawl stops after this many pages");
    pages_->setRange(1, 1000000);
    pages_->setValue(politeness.maxPages);
    scope_ = AddRow(form, "&Scope:", new QComboBox(this), "siteScope",
                    "Which linked pages the crawl may visit");
    for (const auto& [scope, caption] : kScopes) {
        scope_->addItem(caption, static_cast<int>(scope));
        if (scope == politeness.scope) {
            scope_->setCurrentIndex(scope_->count() - 1);
        }
    }
    delay_ = AddRow(form, "D&elay between requests:", new QDoubleSpinBox(this), "siteDelay",
                    "Seconds between two requests to the same host");
    delay_->setRange(0, 600);
    delay_->setDecimals(1);
    delay_->setSingleStep(0.5);
    delay_->setSuffix(" s");
    delay_->setValue(politeness.delay);
    perHost_ = AddRow(form, "Requests at once per &host:", new QSpinBox(this), "sitePerHost",
                      "How many requests one host is asked at the same time");
    perHost_->setRange(1, 16);
    perHost_->setValue(politeness.perHost);
    robots_ = new QCheckBox("Obey &robots.txt", this);
    robots_->setObjectName("siteRobots");
    robots_->setToolTip("Skip the pages that the site's robots.txt asks crawlers to leave alone");
    robots_->setChecked(politeness.obeyRobots);
    form->addRow(robots_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->setObjectName("siteButtons");
    buttons->button(QDialogButtonBox::Ok)->setObjectName("siteOk");
    buttons->button(QDialogButtonBox::Cancel)->setObjectName("siteCancel");
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(buttons);
    url_->setFocus();
}

QString SiteDialog::url() const {
    return url_->text().trimmed();
}

SitePoliteness SiteDialog::politeness() const {
    SitePoliteness p;
    p.maxDepth = depth_->value();
    p.maxPages = pages_->value();
    p.scope = static_cast<CrawlScope>(scope_->currentData().toInt());
    p.delay = delay_->value();
    p.perHost = perHost_->value();
    p.obeyRobots = robots_->isChecked();
    return p;
}

}  // namespace harvest

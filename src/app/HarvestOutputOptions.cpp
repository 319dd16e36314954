#include "HarvestOutputOptions.h"

namespace {

std::vector<std::string> ListValues(const QCommandLineParser& parser, const QString& name) {
    std::vector<std::string> values;
    for (const QString& value : parser.values(name)) {
        for (const QString& part : value.split(',', Qt::SkipEmptyParts)) {
            values.push_back(part.trimmed().toStdString());
        }
    }
    return values;
}

}  // namespace

const char* const HarvestOutputOptions::kOutputHelp =
    "Output:\n"
    "  -o, --output FILE      write to FILE (default: standard output)\n"
    "  --format FORMAT        tsv (default), csv, jsonl, sqlite, xlsx or vcf; without\n"
    "                         it, chosen by the extension of the -o file\n"
    "  --sightings            one row per sighting instead of one per contact\n"
    "  -q, --quiet            no progress line and no summary\n";

const char* const HarvestOutputOptions::kFilterHelp =
    "Filters (each may be given more than once, or as a comma-separated list):\n"
    "  --only-domain DOMAIN   only addresses at DOMAIN or its subdomains\n"
    "  --exclude-domain DOMAIN  leave out addresses at DOMAIN and its subdomains\n"
    "  --kind KIND            only contacts of this kind: personal, role, no-reply,\n"
    "                         web, phone\n"
    "  --no-reserved          leave out names kept for documentation and tests\n"
    "                         (example.org, .test, ...)\n"
    "  --stop-list FILE       leave out the addresses, domains or \"*\" patterns in\n"
    "                         FILE, one a line\n";

void HarvestOutputOptions::addTo(QCommandLineParser& parser) {
    parser.addOptions({
        {{"o", "output"}, "", "FILE"},
        {"format", "", "FORMAT"},
        {"sightings", ""},
        {{"q", "quiet"}, ""},
        {"only-domain", "", "DOMAIN"},
        {"exclude-domain", "", "DOMAIN"},
        {"kind", "", "KIND"},
        {"no-reserved", ""},
        {"stop-list", "", "FILE"},
    });
}

bool HarvestOutputOptions::read(const QCommandLineParser& parser, std::string& problem) {
    path_ = parser.value("output").toStdString();
    if (path_ == "-") {
        path_.clear();
    }
    format_ = harvest::Format::Tsv;
    if (parser.isSet("format")) {
        auto named = harvest::formatNamed(parser.value("format").toStdString());
        if (!named) {
            problem = "unknown format \"" + parser.value("format").toStdString() + "\"";
            return false;
        }
        format_ = *named;
    } else if (!path_.empty()) {
        format_ = harvest::formatForPath(path_).value_or(harvest::Format::Tsv);
    }
    if (path_.empty() && !harvest::isTextFormat(format_)) {
        problem = "this format needs a file: give one with -o FILE";
        return false;
    }
    sightingRows_ = parser.isSet("sightings");
    quiet_ = parser.isSet("quiet");
    return readFilter(parser, problem);
}

bool HarvestOutputOptions::readFilter(const QCommandLineParser& parser, std::string& problem) {
    filter_ = harvest::ContactFilter();
    filter_.onlyDomains(ListValues(parser, "only-domain"));
    filter_.excludeDomains(ListValues(parser, "exclude-domain"));
    std::vector<std::string> kinds = ListValues(parser, "kind");
    for (const std::string& kind : kinds) {
        if (kind != "personal" && kind != "role" && kind != "no-reply" && kind != "web" &&
            kind != "phone") {
            problem = "unknown kind \"" + kind + "\"";
            return false;
        }
    }
    filter_.kinds(kinds);
    filter_.noReserved(parser.isSet("no-reserved"));
    for (const QString& file : parser.values("stop-list")) {
        if (auto error = filter_.loadStopList(file.toStdString())) {
            problem = "stop list " + file.toStdString() + ": " + *error;
            return false;
        }
    }
    return true;
}

std::vector<std::string> HarvestOutputOptions::rawArguments(const QStringList& positional, int argc,
                                                            char* argv[]) {
    std::vector<std::string> raw;
    int next = 2;
    for (const QString& p : positional) {
        std::string bytes = p.toStdString();
        for (int i = next; i < argc; ++i) {
            if (QString::fromLocal8Bit(argv[i]) == p) {
                bytes = argv[i];
                next = i + 1;
                break;
            }
        }
        raw.push_back(bytes);
    }
    return raw;
}

bool HarvestOutputOptions::write(const harvest::ContactSet& contacts,
                                 const harvest::SpillList<harvest::Sighting>& sightings,
                                 const std::vector<harvest::Problem>& problems,
                                 harvest::RecordRange<harvest::SourceInfo> sources, Kept& kept,
                                 std::string& error) const {
    using harvest::Contact;
    using harvest::RecordRange;
    // The contacts are made one at a time as the writer walks them; with
    // filters, a first walk counts those kept (a writer may need the count
    // before the rows).
    RecordRange<Contact> keptContacts = contacts.range();
    kept = {contacts.size(), static_cast<std::size_t>(contacts.sightingCount())};
    if (!filter_.empty()) {
        kept = {};
        contacts.range().forEach([&](const Contact& c) {
            if (filter_.keeps(c)) {
                ++kept.contacts;
                kept.sightings += static_cast<std::size_t>(c.sightings);
            }
        });
        keptContacts = RecordRange<Contact>(
            [&contacts, this](const RecordRange<Contact>::Each& each) {
                contacts.range().forEach([&](const Contact& c) {
                    if (filter_.keeps(c)) {
                        each(c);
                    }
                });
            },
            kept.contacts);
    }
    // Sightings stay where they are (a spill file, mostly); the writers walk
    // the ones kept. Their count is that of the contacts kept, known also
    // when the sightings themselves were not kept.
    const RecordRange<harvest::Sighting> keptSightings =
        sightings.range([this](const harvest::Sighting& s) { return filter_.keeps(s); });
    const harvest::Report report{keptContacts, keptSightings, problems, std::move(sources)};
    return harvest::writeReport(format_, report, sightingRows_, path_, error);
}

#pragma once
// Where the selected contact was found: one row per sighting kept (source,
// page or message, line, field, context). A double-click opens the source in
// the desktop's program for it: a file, the container a member lies in, or a
// web page's address.
#include <QTableWidget>
#include <QUrl>
#include <functional>
#include <string>
#include <vector>

#include "HarvestTypes.h"

namespace harvest {

class SightingsPanel : public QTableWidget {
    Q_OBJECT
public:
    explicit SightingsPanel(QWidget* parent = nullptr);

    // Shows these sightings of a contact that was seen `total` times.
    void show(const std::vector<Sighting>& sightings, std::int64_t total);
    void clearSightings();
    // Opens the source of a row through `opener`.
    void openRow(int row);

    std::function<bool(const QUrl&)> opener;

private:
    std::vector<std::string> sources_;
};

// What opens the place a sighting came from: a web address as it is; a member
// of a container ("outer.zip!inner/a.pdf") as its outermost file; any other
// source as a local file. Invalid for an empty source.
QUrl PlaceToOpen(const std::string& source);

// "page 3", "message 12", or empty.
QString PlaceInSource(const Origin& origin);

}  // namespace harvest

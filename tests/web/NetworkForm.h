#pragma once

#include "Fakes.h"
#include "GumboDocument.h"
#include "QtFetcher.h"
#include "TempDir.h"
#include "WebFakes.h"
#include "WebForm.h"

// A web window's form on the program's own fetch and document parts, with
// its pages stored under a temporary folder: for crawls of a server that a
// test starts on 127.0.0.1.
struct NetworkForm {
    explicit NetworkForm(const FetchLimits& limits) : fetcher(limits), documents(limits) {
        settings.preset("TmpPath", dir.path() + "/pages/");
    }

    TempDir dir;
    QtFetcher fetcher;
    GumboDocumentSource documents;
    MemorySettings settings;
    RecordingMainSide mainSide;
    ScriptedPump pump;
    RecordingPointer pointer;
    FixedClock clock;
    WebForm form{{fetcher, documents, settings, mainSide, pump, pointer, clock}};
};

#include "WebForm.h"

WebForm::WebForm(Ports ports)
    : settings(ports.settings),
      store({ports.fetcher, settings, ports.mainWindow, ports.pump}),
      crawler({store, ports.documents, settings, ports.mainWindow, ports.pump, ports.pointer,
               ports.clock}),
      ports_(ports) {}
void WebForm::click(const std::string&) {}
void WebForm::Toolbar1_ButtonClick(const std::string&) {}
void WebForm::setAddressText(const std::string&) {}
void WebForm::cboAddress_Click() {}
void WebForm::navigationStarted(const std::string&) {}
void WebForm::navigationFinished(const std::string&, bool) {}
void WebForm::historyChanged(bool, bool) {}
void WebForm::mnuProcess_Click() {}
void WebForm::Terminate_Click() {}
void WebForm::mnuSave_Click() {}
void WebForm::mnuLoadSC_Click() {}
void WebForm::ClearShortcut_Click() {}
void WebForm::Setting_Click() {}
void WebForm::Filter_Click() {}
void WebForm::cmdHome_Click() {}
void WebForm::cmdSearch_Click() {}
void WebForm::beginWork() {}
void WebForm::endWork() {
    (void)busy_;
    (void)pagesStored_;
}
void WebForm::rememberAddress(const std::string&) {}

#include "WebControls.h"

#include "FormControls.h"

const std::vector<WebControlInfo>& WebControls() {
    static const std::vector<WebControlInfo> v;
    return v;
}
const std::vector<WebControlInfo>& SettingControls() {
    static const std::vector<WebControlInfo> v;
    return v;
}
const std::vector<WebControlInfo>& FilterControls() {
    static const std::vector<WebControlInfo> v;
    return v;
}
void AddControls(ControlSet&, const std::vector<WebControlInfo>&) {}
WebControlKind KindOf(const std::vector<WebControlInfo>&, const char*) {
    return WebControlKind::Label;
}

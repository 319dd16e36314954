#pragma once

// Prepares the process for the browser view; call before the application
// object is made (QtWebEngine reads these settings when it starts).
void PrepareWebEngine();

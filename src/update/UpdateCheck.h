#pragma once

class QQmlEngine;

// The one thing the program calls in the updater's library, once it has loaded it: a
// check for updates as the person asked for it, its window made by `engine`.
extern "C" void fikranest_check_for_updates(QQmlEngine *engine);

#pragma once

class QString;

/// Has the toolkit's own texts, as those of a text field's menu, in this language ("de" or "en"),
/// and numbers and dates written its way; tells all windows (`QEvent::LanguageChange`). Where the
/// toolkit's texts of a language are not installed they stay English. Main thread only.
void setToolkitLanguage(const QString &language);

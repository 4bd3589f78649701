// A message provider for tests: message id N reads "E<N>:%s", so a test can
// see both which message was raised and what it was formatted with.
#pragma once

#include <qorcalc/api.h>

#include <map>
#include <string>

class TestProvider : public ILggInterface {
public:
    const char16_t* GetText(uint32_t id) override {
        CString& text = m_texts[id];
        if (text.IsEmpty()) text.Format(u"E%u:%%s", id);
        return text;
    }
    void Translate(CString& text) override { text.Insert(0, u"T:"); }

    // Installs this provider for the lifetime of the object.
    TestProvider() { SetLggInterface(this); }
    ~TestProvider() { SetLggInterface(nullptr); }
    TestProvider(const TestProvider&) = delete;
    TestProvider& operator=(const TestProvider&) = delete;

private:
    std::map<uint32_t, CString> m_texts;
};

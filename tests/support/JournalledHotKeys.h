#pragma once

#include "platform/HotKeyRegistrar.h"
#include "support/Journal.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace lumivane::test {

/// Another registrar with every shortcut that comes and goes in the journal, refused ones too.
class JournalledHotKeys final : public HotKeyRegistrar {
public:
    JournalledHotKeys(HotKeyRegistrar& registrar, Journal& journal)
        : m_registrar(registrar)
        , m_journal(journal) {}

    Result installHandler(std::uint32_t signature, Handler handler) override {
        return m_registrar.installHandler(signature, std::move(handler));
    }

    Result registerHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                          HotKeyIdentifier identifier) override {
        auto result = m_registrar.registerHotKey(keyCode, modifiers, identifier);
        const QString verb = result.status == 0 ? u"registerHotKey %1"_qs : u"refuseHotKey %1"_qs;
        m_journal.add(verb.arg(keyCode));
        if (result.registration) {
            result.registration =
                std::make_unique<Registration>(std::move(result.registration), m_journal, keyCode);
        }
        return result;
    }

private:
    class Registration final : public HotKeyRegistration {
    public:
        Registration(std::unique_ptr<HotKeyRegistration> registration, Journal& journal,
                     std::uint32_t keyCode)
            : m_registration(std::move(registration))
            , m_journal(journal)
            , m_keyCode(keyCode) {}

        ~Registration() override { m_journal.add(u"unregisterHotKey %1"_qs.arg(m_keyCode)); }

        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

    private:
        std::unique_ptr<HotKeyRegistration> m_registration;
        Journal& m_journal;
        std::uint32_t m_keyCode;
    };

    HotKeyRegistrar& m_registrar;
    Journal& m_journal;
};

} // namespace lumivane::test

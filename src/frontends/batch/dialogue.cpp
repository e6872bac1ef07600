#include "frontends/batch/dialogue.h"

#include <algorithm>
#include <set>

#include "frontends/sheet/user.h"

namespace tobrel::batch {

namespace {

NSButton* buttonWithAction(const sheet::Rows& rows, const std::string& action) {
    for (auto& control : sheet::controlsOf(rows))
        if (control.button && control.isEnabled() && control.button->action() == action) return control.button;
    return nullptr;
}

std::vector<std::string> textsOf(const sheet::Rows& rows) {
    std::vector<std::string> texts;
    for (auto& row : rows)
        for (auto& piece : row.pieces)
            if (piece.label) texts.push_back(piece.label->stringValue());
    return texts;
}

NotDone lastMessage(const sheet::Rows& rows) {
    auto texts = textsOf(rows);
    std::string message = texts.empty() ? "" : texts.front();
    std::replace(message.begin(), message.end(), '\n', ' ');
    return {message.empty() ? "the request ended without an answer" : message};
}

class ShareLinkDialogue : public Dialogue {
public:
    explicit ShareLinkDialogue(ShareLink task) : task_(std::move(task)) {}

    Step next(const sheet::Rows& rows, const Seen& seen) override {
        if (pressed_) return result(rows, seen);
        pressed_ = true;
        NSButton* create = buttonWithAction(rows, "submitLink:");
        if (!create) return lastMessage(rows);
        NSButton* copy = buttonWithAction(rows, "copyExisting:");
        bool wantsNew = task_.asNewLink || task_.withoutExpiry || task_.days;
        if (copy && !wantsNew) {
            for (auto& text : textsOf(rows))
                if (text.starts_with(liveLink)) expires_ = text.substr(liveLink.size());
            return copy;
        }
        fill(rows);
        return create;
    }

private:
    static constexpr std::string_view liveLink = "This already has a live link. ";

    void fill(const sheet::Rows& rows) const {
        for (auto& control : sheet::controlsOf(rows)) {
            if (control.field && task_.days) control.field->setStringValue(*task_.days);
            if (control.checkBox && task_.withoutExpiry) sheet::press(*control.checkBox);
        }
    }

    Step result(const sheet::Rows& rows, const Seen& seen) const {
        if (!seen.copied || !seen.succeeded) return lastMessage(rows);
        std::string expires = expires_;
        for (auto& text : textsOf(rows))
            if (auto at = text.find("\n" + *seen.copied + "\n"); at != text.npos)
                expires = text.substr(at + seen.copied->size() + 2);
        return Done{{{{*seen.copied}, {{"url", *seen.copied}, {"expires", expires}}}}};
    }

    const ShareLink task_;
    bool pressed_ = false;
    std::string expires_;
};

class ShareWithDialogue : public Dialogue {
public:
    explicit ShareWithDialogue(ShareWith task) : task_(std::move(task)) {}

    Step next(const sheet::Rows& rows, const Seen& seen) override {
        if (std::exchange(pressed_, true)) {
            if (seen.succeeded) return Done{};
            return lastMessage(rows);
        }
        NSButton* share = buttonWithAction(rows, "submitShare:");
        if (!share) return lastMessage(rows);
        for (auto& control : sheet::controlsOf(rows)) {
            if (control.field) control.field->setStringValue(task_.email);
            if (control.popUp) control.popUp->selectItemAtIndex(task_.mayEdit ? 1 : 0);
        }
        return share;
    }

private:
    const ShareWith task_;
    bool pressed_ = false;
};

// A grant, as its row of the list tells.
struct Grant {
    std::string person;
    std::string role;
    bool received = false;
    NSButton* button = nullptr;
};

std::optional<Grant> grantOf(const sheet::Row& row) {
    constexpr std::string_view separator = "  ·  ", byOwner = "hared with you by ";
    Grant grant;
    std::string text;
    for (auto& piece : row.pieces) {
        if (piece.label) text = piece.label->stringValue();
        if (piece.button && piece.button->action() == "revokeTapped:") grant.button = piece.button;
    }
    auto end = text.rfind(separator);
    if (!grant.button || end == text.npos) return std::nullopt;
    grant.received = grant.button->tag() == 1;
    grant.role = text.substr(end).ends_with("can edit") ? "edit" : "view";
    text.resize(end);
    if (auto owner = text.find(byOwner); grant.received && owner != text.npos) text.erase(0, owner + byOwner.size());
    grant.person = std::move(text);
    return grant;
}

class ManageDialogue : public Dialogue {
public:
    Step next(const sheet::Rows& rows, const Seen& seen) override {
        bool isList =
            !rows.empty() && rows.front().pieces.front().label && rows.front().pieces.front().label->font().bold;
        if (!isList) return withoutList(rows, seen);
        std::vector<Grant> grants;
        for (auto& row : rows)
            if (auto grant = grantOf(row)) grants.push_back(std::move(*grant));
        return withList(grants, seen);
    }

protected:
    virtual Step withList(const std::vector<Grant>& grants, const Seen& seen) = 0;
    virtual Step withoutList(const sheet::Rows& rows, const Seen&) { return lastMessage(rows); }
};

class ListDialogue : public ManageDialogue {
    Step withList(const std::vector<Grant>& grants, const Seen&) override {
        Done done;
        for (auto& grant : grants) {
            if (grant.received)
                done.records.push_back(
                    {{"", grant.role, grant.person}, {{"owner", grant.person}, {"role", grant.role}}});
            else
                done.records.push_back({{grant.person, grant.role}, {{"email", grant.person}, {"role", grant.role}}});
        }
        return done;
    }
};

// Ends each grant that is meant; the list comes anew after each.
class RevokeDialogue : public ManageDialogue {
public:
    // An address: that person's. Nothing: the received one.
    explicit RevokeDialogue(std::optional<std::string> email) : email_(std::move(email)) {}

private:
    Step withList(const std::vector<Grant>& grants, const Seen& seen) override {
        bool revoked = !tried_.empty() && seen.succeeded;
        if (!tried_.empty() && !revoked) return NotDone{"the server gives this share no name to end it by"};
        for (auto& grant : grants)
            if (isMeant(grant) && tried_.insert(grant.button->identifier().value_or("")).second) return grant.button;
        if (revoked) return Done{};
        return NotDone{email_ ? "the folder is not shared with " + *email_
                              : "the folder is not one that somebody else shared with you"};
    }
    Step withoutList(const sheet::Rows& rows, const Seen& seen) override {
        if (seen.succeeded) return Done{};
        return lastMessage(rows);
    }
    bool isMeant(const Grant& grant) const {
        return email_ ? !grant.received && grant.person == *email_ : grant.received;
    }

    const std::optional<std::string> email_;
    std::set<std::string> tried_;
};

class OpenPageDialogue : public Dialogue {
    // Where the page can be opened the request ends before the sheet rests.
    Step next(const sheet::Rows& rows, const Seen&) override { return lastMessage(rows); }
    End ended(const sheet::Rows& rows, const Seen& seen) const override {
        if (!seen.opened) return lastMessage(rows);
        return Done{{{{*seen.opened}, {{"url", *seen.opened}}}}};
    }
};

class NoDialogue : public Dialogue {
    Step next(const sheet::Rows& rows, const Seen&) override { return lastMessage(rows); }
    End ended(const sheet::Rows&, const Seen&) const override { return Done{}; }
};

struct Maker {
    using Made = std::unique_ptr<Dialogue>;
    Made operator()(const NoQuestion&) const { return std::make_unique<NoDialogue>(); }
    Made operator()(const ShareLink& task) const { return std::make_unique<ShareLinkDialogue>(task); }
    Made operator()(const ShareWith& task) const { return std::make_unique<ShareWithDialogue>(task); }
    Made operator()(const ListSharing&) const { return std::make_unique<ListDialogue>(); }
    Made operator()(const StopSharing& task) const { return std::make_unique<RevokeDialogue>(task.email); }
    Made operator()(const Leave&) const { return std::make_unique<RevokeDialogue>(std::nullopt); }
    Made operator()(const OpenPage&) const { return std::make_unique<OpenPageDialogue>(); }
};

}  // namespace

End Dialogue::ended(const sheet::Rows& rows, const Seen&) const {
    return lastMessage(rows);
}

std::unique_ptr<Dialogue> dialogueFor(const Task& task) {
    return std::visit(Maker(), task);
}

}  // namespace tobrel::batch

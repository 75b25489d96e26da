#include "extras/login_item_model.h"

#include <QCoreApplication>
#include <variant>

#include "common/files.h"
#include "ui/model_support.h"

namespace torvel::app {

LoginItemModel::LoginItemModel(std::optional<std::filesystem::path> file, QString executable, QObject* parent)
    : QObject(parent), file_(std::move(file)), executable_(std::move(executable)) {
    item_.status = readBack();
}

std::unique_ptr<LoginItemModel> LoginItemModel::forThisUser(QObject* parent) {
    return std::make_unique<LoginItemModel>(LoginItem::autostartFile(processEnvironment),
                                            QCoreApplication::applicationFilePath(), parent);
}

LoginItem::Status LoginItemModel::readBack() const {
    if (!file_) return LoginItem::Status::notRegistered;
    auto contents = readWholeFile(*file_);
    if (auto* text = std::get_if<std::string>(&contents)) return LoginItem::fromAutostartEntry(*text);
    return LoginItem::Status::notRegistered;
}

void LoginItemModel::reload() {
    assignAndNotify(this, item_.status, readBack(), &LoginItemModel::statusChanged);
}

void LoginItemModel::settle(std::optional<std::string> failure) {
    LoginItem next = item_;
    next.changed(readBack(), std::move(failure));
    assignAndNotify(this, item_.status, next.status, &LoginItemModel::statusChanged);
    assignAndNotify(this, item_.error, next.error, &LoginItemModel::errorChanged);
}

void LoginItemModel::set(bool on) {
    if (!file_) {
        settle(LoginItem::noHomeFolder());
        return;
    }
    std::error_code error;
    if (on) {
        std::filesystem::create_directories(file_->parent_path(), error);
        if (!error) error = writeWholeFile(*file_, LoginItem::autostartEntry(executable_.toStdString()));
    } else {
        std::filesystem::remove(*file_, error);
    }
    if (error) {
        settle(LoginItem::fileFailed(on, file_->string(), error.message()));
        return;
    }
    settle(std::nullopt);
}

}  // namespace torvel::app

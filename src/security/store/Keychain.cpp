#include "security/store/Keychain.h"

#include <openssl/crypto.h>

#include <cstdlib>
#include <filesystem>

#include "VORKCoreCommC/security/VORKSecurityStatus.h"
#include "platform/EffectiveUser.h"
#include "platform/RunningProgram.h"
#include "security/store/Sqlite.h"

namespace vork::sec {

namespace {

constexpr const char *kSchema =
    "CREATE TABLE meta(name TEXT PRIMARY KEY, value BLOB NOT NULL);"
    "CREATE TABLE access(id INTEGER PRIMARY KEY, root_only INTEGER NOT NULL, descriptor TEXT NOT NULL);"
    "CREATE TABLE access_programs(access_id INTEGER NOT NULL REFERENCES access(id), path TEXT NOT NULL);"
    "CREATE TABLE certificates(id INTEGER PRIMARY KEY, der BLOB NOT NULL UNIQUE,"
    " public_key_hash BLOB NOT NULL);"
    "CREATE TABLE keys(id INTEGER PRIMARY KEY, class TEXT NOT NULL CHECK(class IN ('private', 'public')),"
    " label TEXT NOT NULL, public_key_hash BLOB NOT NULL, public_key BLOB NOT NULL,"
    " encrypted_private_key BLOB, access_id INTEGER REFERENCES access(id));";

constexpr const char *kFormat = "1";
constexpr size_t kSaltLength = 16;

OSStatus openDatabase(const std::string &path, int flags, sqlite3 *&db) {
    db = nullptr;
    const int rc = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        sqlite3_close(db);
        db = nullptr;
        return statusFromSqlite(rc);
    }
    sqlite3_busy_timeout(db, 5000);
    // The rollback journal: the file is whole after every transaction and
    // the journal is deleted when it ends.
    int settings = execute(db, "PRAGMA journal_mode=DELETE; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
    if (settings != SQLITE_OK) {
        sqlite3_close(db);
        db = nullptr;
        return statusFromSqlite(settings);
    }
    return errSecSuccess;
}

std::string passwordMaterial(const std::string &salt, const std::string &password) {
    return crypto::passwordCheck(password, salt, crypto::kPbkdf2Iterations);
}

}  // namespace

Keychain::~Keychain() {
    if (password_) OPENSSL_cleanse(password_->data(), password_->size());
    sqlite3_close(db_);
}

OSStatus Keychain::create(const std::string &path, const std::string &password, const Access *access,
                          SecKeychainRef &out) {
    std::error_code ec;
    if (path.empty()) return errSecParam;
    if (std::filesystem::exists(path, ec)) return errSecDuplicateKeychain;
    sqlite3 *db = nullptr;
    OSStatus status = openDatabase(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_EXCLUSIVE, db);
    if (status != errSecSuccess) return status;
    std::shared_ptr<Keychain> keychain(new Keychain(path, db));
    const std::string salt = crypto::randomBytes(kSaltLength);
    status = keychain->transaction([&]() -> OSStatus {
        if (int rc = execute(keychain->db_, kSchema); rc != SQLITE_OK) return statusFromSqlite(rc);
        OSStatus s = keychain->setMeta("format", kFormat);
        if (s == errSecSuccess) s = keychain->setMeta("kdf", "pbkdf2-hmac-sha256");
        if (s == errSecSuccess) s = keychain->setMeta("salt", salt);
        if (s == errSecSuccess) s = keychain->setMeta("password_check", passwordMaterial(salt, password));
        if (s == errSecSuccess && access) {
            auto id = keychain->storeAccess(access);
            s = id ? keychain->setMeta("access_id", std::to_string(*id)) : errSecIO;
        }
        return s;
    });
    if (status != errSecSuccess) {
        keychain.reset();
        std::filesystem::remove(path, ec);
        std::filesystem::remove(path + "-journal", ec);
        return status;
    }
    keychain->password_ = password;
    out = keychain;
    return errSecSuccess;
}

OSStatus Keychain::open(const std::string &path, SecKeychainRef &out) {
    std::error_code ec;
    if (path.empty() || !std::filesystem::is_regular_file(path, ec)) return errSecNoSuchKeychain;
    sqlite3 *db = nullptr;
    OSStatus status = openDatabase(path, SQLITE_OPEN_READWRITE, db);
    if (status != errSecSuccess) status = openDatabase(path, SQLITE_OPEN_READONLY, db);
    if (status != errSecSuccess) return status == errSecNoSuchKeychain ? errSecInvalidKeychain : status;
    std::shared_ptr<Keychain> keychain(new Keychain(path, db));
    if (keychain->meta("format") != std::optional<std::string>(kFormat)) return errSecInvalidKeychain;
    out = keychain;
    return errSecSuccess;
}

OSStatus Keychain::transaction(const std::function<OSStatus()> &body) {
    int rc = execute(db_, "BEGIN IMMEDIATE");
    if (rc != SQLITE_OK) return statusFromSqlite(rc);
    OSStatus status = body();
    if (status == errSecSuccess) {
        rc = execute(db_, "COMMIT");
        if (rc == SQLITE_OK) return errSecSuccess;
        status = statusFromSqlite(rc);
    }
    execute(db_, "ROLLBACK");
    return status;
}

std::optional<std::string> Keychain::meta(const char *name) {
    Statement select(db_, "SELECT value FROM meta WHERE name = ?");
    select.bindText(1, name);
    if (select.step() != SQLITE_ROW) return std::nullopt;
    return select.blob(0);
}

OSStatus Keychain::setMeta(const char *name, const std::string &value) {
    Statement upsert(db_, "INSERT OR REPLACE INTO meta(name, value) VALUES(?, ?)");
    upsert.bindText(1, name).bind(2, value);
    return statusFromSqlite(upsert.step());
}

bool Keychain::passwordMatches(const std::string &password) {
    auto salt = meta("salt");
    auto check = meta("password_check");
    return salt && check && crypto::equalInConstantTime(passwordMaterial(*salt, password), *check);
}

OSStatus Keychain::lock() {
    std::lock_guard<std::mutex> guard(mutex_);
    if (password_) OPENSSL_cleanse(password_->data(), password_->size());
    password_.reset();
    return errSecSuccess;
}

OSStatus Keychain::unlock(const std::optional<std::string> &password) {
    std::lock_guard<std::mutex> guard(mutex_);
    // Without a password the user would have to be asked.
    if (!password) return errSecInteractionNotAllowed;
    if (!passwordMatches(*password)) return errSecAuthFailed;
    password_ = *password;
    return errSecSuccess;
}

bool Keychain::isUnlocked() const {
    std::lock_guard<std::mutex> guard(mutex_);
    return password_.has_value();
}

OSStatus Keychain::changePassword(const std::string &oldPassword, const std::string &newPassword) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!passwordMatches(oldPassword)) return errSecAuthFailed;
    const std::string salt = crypto::randomBytes(kSaltLength);
    return transaction([&]() -> OSStatus {
        Statement select(db_, "SELECT id, encrypted_private_key FROM keys WHERE class = 'private'");
        while (select.step() == SQLITE_ROW) {
            auto key = crypto::decryptPrivateKey(select.blob(1), oldPassword);
            auto sealed = key ? crypto::encryptPrivateKey(key.get(), newPassword) : std::nullopt;
            if (!sealed) return errSecDecode;
            Statement update(db_, "UPDATE keys SET encrypted_private_key = ? WHERE id = ?");
            update.bind(1, *sealed).bind(2, select.integer(0));
            if (int rc = update.step(); rc != SQLITE_DONE) return statusFromSqlite(rc);
        }
        OSStatus s = setMeta("salt", salt);
        return s == errSecSuccess ? setMeta("password_check", passwordMaterial(salt, newPassword)) : s;
    });
}

std::optional<int64_t> Keychain::storeAccess(const Access *access) {
    Statement insert(db_, "INSERT INTO access(root_only, descriptor) VALUES(?, ?)");
    insert.bind(1, static_cast<int64_t>(access->rootOnly)).bindText(2, access->descriptor);
    if (insert.step() != SQLITE_DONE) return std::nullopt;
    const int64_t id = sqlite3_last_insert_rowid(db_);
    for (const std::string &program : access->programs) {
        Statement add(db_, "INSERT INTO access_programs(access_id, path) VALUES(?, ?)");
        add.bind(1, id).bindText(2, program);
        if (add.step() != SQLITE_DONE) return std::nullopt;
    }
    return id;
}

bool Keychain::accessAllows(int64_t accessId) {
    Statement select(db_, "SELECT root_only FROM access WHERE id = ?");
    select.bind(1, accessId);
    if (select.step() != SQLITE_ROW) return false;
    if (select.integer(0) != 0 && platform::effectiveUser().get()->effectiveUserId() == 0) return true;
    const std::string running = platform::runningProgram().get()->executablePath();
    Statement programs(db_, "SELECT path FROM access_programs WHERE access_id = ?");
    programs.bind(1, accessId);
    while (programs.step() == SQLITE_ROW)
        if (!running.empty() && programs.blob(0) == running) return true;
    return false;
}

OSStatus Keychain::addCertificate(const Certificate &certificate) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!password_) return errSecInteractionNotAllowed;
    return transaction([&]() -> OSStatus {
        Statement insert(db_, "INSERT INTO certificates(der, public_key_hash) VALUES(?, ?)");
        insert.bind(1, certificate.der()).bind(2, certificate.publicKeyHash());
        return statusFromSqlite(insert.step());
    });
}

OSStatus Keychain::deleteCertificate(const Certificate &certificate) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!password_) return errSecInteractionNotAllowed;
    return transaction([&]() -> OSStatus {
        Statement remove(db_, "DELETE FROM certificates WHERE der = ?");
        remove.bind(1, certificate.der());
        if (int rc = remove.step(); rc != SQLITE_DONE) return statusFromSqlite(rc);
        return sqlite3_changes(db_) > 0 ? errSecSuccess : errSecItemNotFound;
    });
}

OSStatus Keychain::certificates(std::vector<SecCertificateRef> &out) {
    std::lock_guard<std::mutex> guard(mutex_);
    Statement select(db_, "SELECT der FROM certificates ORDER BY id");
    int rc;
    while ((rc = select.step()) == SQLITE_ROW)
        if (auto certificate = Certificate::fromDer(select.blob(0))) out.push_back(std::move(certificate));
    if (rc != SQLITE_DONE) return statusFromSqlite(rc);
    return out.empty() ? errSecItemNotFound : errSecSuccess;
}

OSStatus Keychain::identities(std::vector<SecIdentityRef> &out) {
    std::lock_guard<std::mutex> guard(mutex_);
    Statement select(db_,
                     "SELECT c.der, k.id, k.label, k.public_key FROM certificates c JOIN keys k"
                     " ON k.public_key_hash = c.public_key_hash AND k.class = 'private' ORDER BY c.id, k.id");
    int rc;
    while ((rc = select.step()) == SQLITE_ROW) {
        auto identity = std::make_shared<Identity>();
        identity->certificate = Certificate::fromDer(select.blob(0));
        if (!identity->certificate) continue;
        auto key = std::make_shared<Key>();
        key->isPrivate = true;
        key->row = select.integer(1);
        key->label = select.blob(2);
        key->publicKey = select.blob(3);
        key->keychain = shared_from_this();
        identity->privateKey = std::move(key);
        out.push_back(std::move(identity));
    }
    if (rc != SQLITE_DONE) return statusFromSqlite(rc);
    return out.empty() ? errSecItemNotFound : errSecSuccess;
}

OSStatus Keychain::deleteIdentity(const Identity &identity) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!password_) return errSecInteractionNotAllowed;
    return transaction([&]() -> OSStatus {
        Statement cert(db_, "DELETE FROM certificates WHERE der = ?");
        cert.bind(1, identity.certificate->der());
        if (int rc = cert.step(); rc != SQLITE_DONE) return statusFromSqlite(rc);
        if (sqlite3_changes(db_) == 0) return errSecItemNotFound;
        Statement key(db_, "DELETE FROM keys WHERE id = ? AND class = 'private'");
        key.bind(1, identity.privateKey->row);
        return statusFromSqlite(key.step());
    });
}

OSStatus Keychain::generateKeyPair(int bits, const std::string &privateLabel, const std::string &publicLabel,
                                   const Access *access, SecKeyRef &privateKey, SecKeyRef &publicKey) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!password_) return errSecInteractionNotAllowed;
    auto key = crypto::generateRsaKey(bits);
    if (!key) return errSecInternalComponent;
    auto sealed = crypto::encryptPrivateKey(key.get(), *password_);
    if (!sealed) return errSecInternalComponent;
    const std::string spki = crypto::publicKeyDer(key.get());
    const std::string hash = crypto::sha256(spki);
    int64_t privateRow = 0;
    OSStatus status = transaction([&]() -> OSStatus {
        std::optional<int64_t> accessId;
        if (access && !(accessId = storeAccess(access))) return errSecIO;
        Statement insert(db_,
                         "INSERT INTO keys(class, label, public_key_hash, public_key, encrypted_private_key, access_id)"
                         " VALUES('private', ?, ?, ?, ?, ?)");
        insert.bindText(1, privateLabel).bind(2, hash).bind(3, spki).bind(4, *sealed);
        accessId ? insert.bind(5, *accessId) : insert.bindNull(5);
        if (int rc = insert.step(); rc != SQLITE_DONE) return statusFromSqlite(rc);
        privateRow = sqlite3_last_insert_rowid(db_);
        Statement pub(db_, "INSERT INTO keys(class, label, public_key_hash, public_key) VALUES('public', ?, ?, ?)");
        pub.bindText(1, publicLabel).bind(2, hash).bind(3, spki);
        return statusFromSqlite(pub.step());
    });
    if (status != errSecSuccess) return status;
    auto priv = std::make_shared<Key>();
    priv->isPrivate = true;
    priv->label = privateLabel;
    priv->publicKey = spki;
    priv->keychain = shared_from_this();
    priv->row = privateRow;
    auto pub = std::make_shared<Key>();
    pub->label = publicLabel;
    pub->publicKey = spki;
    privateKey = std::move(priv);
    publicKey = std::move(pub);
    return errSecSuccess;
}

OSStatus Keychain::usePrivateKey(int64_t row, const std::function<OSStatus(EVP_PKEY *)> &use) {
    std::lock_guard<std::mutex> guard(mutex_);
    if (!password_) return errSecInteractionNotAllowed;
    Statement select(db_, "SELECT encrypted_private_key, access_id FROM keys WHERE id = ? AND class = 'private'");
    select.bind(1, row);
    if (select.step() != SQLITE_ROW) return errSecItemNotFound;
    // The key's own access list or the keychain's (its creator) lets the
    // running program use it; with neither recorded anyone holding the
    // password may.
    const auto keychainAccess = meta("access_id");
    const bool restricted = !select.isNull(1) || keychainAccess.has_value();
    const bool allowed = (!select.isNull(1) && accessAllows(select.integer(1))) ||
                         (keychainAccess && accessAllows(std::strtoll(keychainAccess->c_str(), nullptr, 10)));
    if (restricted && !allowed) return errSecInteractionNotAllowed;
    auto key = crypto::decryptPrivateKey(select.blob(0), *password_);
    if (!key) return errSecAuthFailed;
    return use(key.get());
}

}  // namespace vork::sec

#include "sql/fmsqlsqliterows.h"

#include "sql/fmsqldatabase.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>

#include <dlfcn.h>
#include <sqlite3.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace {

// True when the Qt driver runs on this program's SQLite library, so that its connection handle may
// be used here. A driver with a copy of SQLite of its own (a Qt built with the bundled one) shares
// no state with this one; its handle is then left to Qt. The driver object's first word points
// into its class's virtual table, inside the driver's plugin (or program).
bool driverUsesOurSqlite(const QSqlDriver* driver)
{
    Dl_info info{};
    if (!driver || !dladdr(*reinterpret_cast<void* const*>(driver), &info) || !info.dli_fname) return false;
    void* const plugin = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
    if (!plugin) return false;
    const bool same = dlsym(plugin, "sqlite3_step") == reinterpret_cast<void*>(&sqlite3_step);
    dlclose(plugin);
    return same;
}

class SqliteRows final : public fmSqliteRows
{
public:
    static constexpr int RowsPerStep = 32;

    explicit SqliteRows(sqlite3* db) : Db(db) {}

    bool prepare() { return One.prepare(Db, 1) && Many.prepare(Db, RowsPerStep); }

    // Inserts the jobs of one file; `inserted` counts the rows written (a job that stands in
    // another file of the project is not). False with `error` set when a statement failed.
    bool insert(const fmSqlFile& file, const QList<fmSqlJob>& jobs, double costPerGhzHour,
                long long& inserted, QString& error) override
    {
        inserted = 0;
        for (qsizetype first = 0; first < jobs.size();) {
            Statement& st = jobs.size() - first >= RowsPerStep ? Many : One;
            bool bound = st.text(0, 1, file.Project) && st.text(1, 2, file.RelPath);
            for (int k = 0; k < st.Rows && bound; ++k)
                bound = st.bindRow(k, jobs[first + k], costPerGhzHour);
            if (!bound) {
                error = why(QStringLiteral("Unable to bind parameters"));
                return false;
            }
            if (sqlite3_step(st.Stmt) != SQLITE_DONE) {
                error = why(QStringLiteral("Unable to fetch row"));
                sqlite3_reset(st.Stmt);
                return false;
            }
            sqlite3_reset(st.Stmt);
            inserted += sqlite3_changes(Db); // fewer: jobs that stand in another file
            first += st.Rows;
        }
        return true;
    }

    // The driver's message as QSqlError::text() gives it: SQLite's text, then what failed.
    QString why(const QString& what) const
    {
        return QString::fromUtf8(sqlite3_errmsg(Db)) + QLatin1Char(' ') + what;
    }

private:
    static bool ok(int rc) { return rc == SQLITE_OK; }

    // A text bound to a parameter: the QString keeps alive the units SQLite may point to.
    struct TextSlot
    {
        QString Value;
        std::string Utf8;
        bool Bound = false;
    };

    // An insert of `Rows` rows: ?1 project, ?2 source file, then 16 parameters a row.
    struct Statement
    {
        static constexpr int PerRow = 16;
        static constexpr int TextsPerRow = 7; // id_text, user_name .. layer

        sqlite3_stmt* Stmt = nullptr;
        int Rows = 0;
        std::vector<TextSlot> Texts;             // 2 + TextsPerRow a row
        std::vector<std::array<char, 40>> Times; // date_send, date_finished of each row

        ~Statement() { sqlite3_finalize(Stmt); }

        bool prepare(sqlite3* db, int rows)
        {
            std::string sql =
                "INSERT INTO fm_jobs (project, source_file, job_id, id_text, user_name, software, "
                "renderer, scene, camera, layer, date_send, date_finished, execution_seconds, "
                "frames, total_ps, ghz_hours, cost, errors) VALUES ";
            for (int k = 0; k < rows; ++k) {
                sql += k ? ", (?1, ?2" : "(?1, ?2";
                for (int c = 0; c < PerRow; ++c)
                    sql += ", ?" + std::to_string(3 + k * PerRow + c);
                sql += ')';
            }
            sql += " ON CONFLICT DO NOTHING";
            Rows = rows;
            Texts.resize(size_t(2 + TextsPerRow * rows));
            Times.resize(size_t(rows));
            return ok(sqlite3_prepare_v3(db, sql.c_str(), int(sql.size()), SQLITE_PREPARE_PERSISTENT, &Stmt,
                                         nullptr));
        }

        // Row k's parameters from ?(3 + 16 k), in the columns' order.
        bool bindRow(int k, const fmSqlJob& job, double costPerGhzHour)
        {
            const int p = 3 + k * PerRow;
            const int t = 2 + k * TextsPerRow;
            char* const sent = Times[size_t(k)].data();
            char* const finished = sent + 20;
            fmSqlDatabase::timeChars(job.DateSend, sent);
            if (job.DateFinished > 0) fmSqlDatabase::timeChars(job.DateFinished, finished);
            const double cost = job.GhzHours * costPerGhzHour;
            return ok(sqlite3_bind_int64(Stmt, p, job.JobID)) && text(t, p + 1, job.IdText) &&
                   text(t + 1, p + 2, job.UserName) && text(t + 2, p + 3, job.Software) &&
                   text(t + 3, p + 4, job.Renderer) && text(t + 4, p + 5, job.Scene) &&
                   text(t + 5, p + 6, job.Camera) && text(t + 6, p + 7, job.Layer) &&
                   ok(sqlite3_bind_text(Stmt, p + 8, sent, 20, SQLITE_STATIC)) &&
                   // A job without a finish time has none in the database either.
                   ok(job.DateFinished > 0 ? sqlite3_bind_text(Stmt, p + 9, finished, 20, SQLITE_STATIC)
                                           : sqlite3_bind_null(Stmt, p + 9)) &&
                   ok(sqlite3_bind_int64(Stmt, p + 10, job.ExecutionSeconds)) &&
                   ok(sqlite3_bind_int(Stmt, p + 11, job.Frames)) &&
                   ok(sqlite3_bind_int64(Stmt, p + 12, job.TotalPS)) &&
                   ok(sqlite3_bind_double(Stmt, p + 13, job.GhzHours)) &&
                   ok(sqlite3_bind_double(Stmt, p + 14, std::isfinite(cost) ? cost : 0.0)) &&
                   ok(sqlite3_bind_int(Stmt, p + 15, job.Errors));
        }

        // Binds parameter `param` (text slot `slot`) unless it holds this text already.
        bool text(int slot, int param, const QString& s)
        {
            TextSlot& t = Texts[size_t(slot)];
            if (t.Bound && s.isNull() == t.Value.isNull() && s.size() == t.Value.size() &&
                (s.constData() == t.Value.constData() || s == t.Value))
                return true;
            t.Value = s;
            t.Bound = false;
            if (s.isNull()) return t.Bound = ok(sqlite3_bind_null(Stmt, param));
            const char16_t* units = reinterpret_cast<const char16_t*>(s.constData());
            const qsizetype n = s.size();
            bool ascii = true;
            for (qsizetype i = 0; i < n && ascii; ++i)
                ascii = units[i] < 0x80;
            if (!ascii)
                return t.Bound = ok(sqlite3_bind_text16(Stmt, param, units, int(n * 2), SQLITE_STATIC));
            // From the parameter's buffer even when empty: a null pointer would bind NULL.
            t.Utf8.resize(size_t(n));
            for (qsizetype i = 0; i < n; ++i)
                t.Utf8[size_t(i)] = char(units[i]);
            return t.Bound = ok(sqlite3_bind_text(Stmt, param, t.Utf8.data(), int(n), SQLITE_STATIC));
        }
    };

    sqlite3* Db;
    Statement One, Many;
};

} // namespace

std::unique_ptr<fmSqliteRows> fmSqliteRows::open(QSqlDatabase& db, QString& error)
{
    const QVariant h = db.driver()->handle();
    if (!h.isValid() || qstrcmp(h.typeName(), "sqlite3*") != 0 || !driverUsesOurSqlite(db.driver()))
        return nullptr;
    sqlite3* const handle = *static_cast<sqlite3* const*>(h.constData());
    if (!handle) return nullptr;
    auto rows = std::make_unique<SqliteRows>(handle);
    if (!rows->prepare()) {
        error = rows->why(QStringLiteral("Unable to execute statement"));
        return nullptr;
    }
    return rows;
}

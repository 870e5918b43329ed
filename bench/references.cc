// 10,000 relative references to files written into a document, and read back by a document that has
// moved: the library's records beside QDataStream with plain path strings, which knows nothing of
// the move. There is no floor: whoever stores paths must at least do what QDataStream does.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "bench/Scratch.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/fil/fil.h"
#include "ondrel/records/filerefs.h"

#ifdef BENCH_HAS_QT
#include <QDataStream>
#include <QFile>
#include <QString>
#endif

namespace Bench {
namespace {

constexpr int kLinks = 10000;

std::string path;
std::vector<std::string> targets;  // as the document names them
std::vector<std::string> moved;    // as the moved one must find them

Ondrel::filref Reference(const std::string& text) {
    Ondrel::filref ref;
    ref.ConvertFromMacPath(text.c_str());
    return ref;
}

class Records {
 public:
    Records() : base_(Reference("HD:Docs:Project:doc")), moved_(Reference("Work:Old:Project:doc")) {
        spec_.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)));
        for (const std::string& target : targets)
            references_.push_back(Reference(target));
    }
    void Write() {
        Ondrel::fil f;
        if (Ondrel::filsav(&f, nullptr, &spec_, 0) != 0) std::abort();
        for (const Ondrel::filref& target : references_)
            if (Ondrel::filwrirefrel(&f, base_, target, 1) != 0) std::abort();
        if (f.Close() != 0) std::abort();
    }
    void Read() {
        Ondrel::fil f;
        Ondrel::filref target;
        if (Ondrel::filope(&f, nullptr, spec_) != 0) std::abort();
        for (int i = 0; i < kLinks; ++i) {
            if (Ondrel::filrearefrel(&f, moved_, target, nullptr) != 0) std::abort();
            benchmark::DoNotOptimize(target);
        }
        f.Close();
    }
    bool ReadsRight() {
        Ondrel::fil f;
        Ondrel::filref target;
        bool right = Ondrel::filope(&f, nullptr, spec_) == 0;
        for (const std::string& expected : moved)
            right = right && Ondrel::filrearefrel(&f, moved_, target, nullptr) == 0 &&
                    target == Reference(expected);
        f.Close();
        return right;
    }

 private:
    Ondrel::filref spec_;
    Ondrel::filref base_;
    Ondrel::filref moved_;
    std::vector<Ondrel::filref> references_;
};

#ifdef BENCH_HAS_QT
class QtPeer {
 public:
    QtPeer() {
        for (const std::string& target : targets)
            paths_.push_back(QString::fromStdString(target));
    }
    void Write() {
        QFile file(QString::fromStdString(path));
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        QDataStream stream(&file);
        for (const QString& target : paths_)
            stream << target;
    }
    void Read() {
        QFile file(QString::fromStdString(path));
        file.open(QIODevice::ReadOnly);
        QDataStream stream(&file);
        for (int i = 0; i < kLinks; ++i) {
            QString target;
            stream >> target;
            benchmark::DoNotOptimize(target);
        }
    }
    bool ReadsRight() {
        QFile file(QString::fromStdString(path));
        file.open(QIODevice::ReadOnly);
        QDataStream stream(&file);
        bool right = true;
        for (const std::string& expected : targets) {
            QString target;
            stream >> target;
            right = right && target.toStdString() == expected;
        }
        return right;
    }

 private:
    std::vector<QString> paths_;
};
#endif

template <class Contender>
void Write(benchmark::State& state) {
    Contender contender;
    for (auto _ : state)
        contender.Write();
    if (!contender.ReadsRight()) state.SkipWithError("wrote other references");
}

template <class Contender>
void Read(benchmark::State& state) {
    Contender contender;
    contender.Write();
    if (!contender.ReadsRight()) return state.SkipWithError("read other references");
    for (auto _ : state)
        contender.Read();
}

template <class Contender>
void Register(const std::string& contender) {
    AddWork("K. write references", contender, Write<Contender>);
    AddWork("K. read references, moved", contender, Read<Contender>);
}

void MakeTargets() {
    Random random;
    for (int i = 0; i < kLinks; ++i) {
        std::string place = "Project:";
        for (unsigned depth = 1 + random.Below(3); depth > 0; --depth)
            place += "Folder " + std::to_string(random.Below(50)) + ":";
        place += "Picture " + std::to_string(i) + ".tif";
        targets.push_back("HD:Docs:" + place);
        moved.push_back("Work:Old:" + place);
    }
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    const ScratchFolder scratch("references");
    path = scratch.Path("document");
    MakeTargets();
    std::vector<std::string> contenders = {"ondrel"};
    std::vector<std::string> skipped;
    Register<Records>("ondrel");
#ifdef BENCH_HAS_QT
    Register<QtPeer>("QDataStream");
    contenders.emplace_back("QDataStream");
#else
    skipped.emplace_back("QDataStream");
#endif
    return RunAndPrint(argc, argv, contenders, skipped);
}

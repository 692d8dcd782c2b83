// SPDX-License-Identifier: Apache-2.0
// A host of its own: one header, a landscape of one service, all rules.
#include <naxfewxmldb/naxfewxmldb.h>

#include <cstdio>

using namespace Nax::FrontEnd::XMLDB;

namespace {

bool Check(bool condition, const char* what) {
    if (!condition) {
        std::printf("consumer: %s failed\n", what);
    }
    return condition;
}

bool AddRecord(CDBProcessor& processor, DBOperations operation, const wchar_t* record) {
    std::wstringstream stream;
    stream << record;
    return processor.Process(operation, stream);
}

} // namespace

int main() {
    const auto processor =
        std::make_shared<CDBProcessor>(true, DBMode::Transactional, _bstr_t(L""), _bstr_t(L""));
    std::wstringstream none;
    bool good = Check(processor->Process(DBOperations::createDB, none), "createDB");
    good = Check(AddRecord(*processor, DBOperations::AddRouter,
                           L"{f_data:f_description:NULL,f_name:'R',f_router:'/H/x',"
                           L"f_uuid:'not a uuid','0',"),
                 "AddRouter") &&
           good;
    good = Check(processor->Process(DBOperations::Commit, none), "Commit") && good;
    good = Check(processor->Process(DBOperations::CreateRulesTable, none), "Rules") && good;
    CRulesProcessor rules(processor, _bstr_t(L""));
    good = Check(rules.LoadRules(_bstr_t(L"")), "LoadRules") && good;
    good = Check(rules.GetRules().size() == 33, "33 rules") && good;
    good = Check(rules.Execute(), "Execute") && good;
    std::shared_ptr<IRecordset> rows;
    good = Check(processor->DB_ExecuteQuery(
                     "SELECT RuleId FROM ValidationResults WHERE ResultId = '5'", rows) &&
                     rows->MoveNext() && rows->GetString(0) == "11" && !rows->MoveNext(),
                 "the one finding") &&
           good;
    rows.reset();
    return good ? 0 : 1;
}

#include <gtest/gtest.h>

#include "ldap/LDAPQuery.h"

namespace keystrand::test {
namespace {

TEST(LDAPQuery, TakesTheTextApart) {
  constexpr const char* kAny = "( objectclass=* )";
  struct Row {
    const char *text, *attribute, *name;
    bool binary;
    int scope;
    const char* filter;
  };
  for (const Row& row : {
           Row{"certificateRevocationList", "certificateRevocationList", "certificateRevocationList", false, 0, kAny},
           Row{"certificateRevocationList;binary", "certificateRevocationList;binary", "certificateRevocationList",
               true, 0, kAny},
           Row{"crl;lang-it;binary?sub", "crl;lang-it;binary", "crl", true, 2, kAny},
           Row{"crl?base", "crl", "crl", false, 0, kAny},
           Row{"crl?ONE", "crl", "crl", false, 1, kAny},
           Row{"crl?onelevel", "crl", "crl", false, 1, kAny},
           Row{"crl?Subtree?", "crl", "crl", false, 2, kAny},
           Row{"crl?children", "crl", "crl", false, 0, kAny},
           Row{"crl?su", "crl", "crl", false, 0, kAny},
           Row{"crl??cn=CA", "crl", "crl", false, 0, "( cn = CA)"},
           Row{"crl?sub?(cn=CA)", "crl", "crl", false, 2, "( cn = CA)"},
           Row{"crl?sub?(cn=CA=1)", "crl", "crl", false, 2, "( cn = CA=1)"},
           Row{"crl?sub?(cn=CA", "crl", "crl", false, 2, "( (cn = CA)"},
           Row{"crl?sub?cn=*", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?(objectClass=*)", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?cn=", "crl", "crl", false, 2, "( cn = )"},
           Row{"crl?sub?cn", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?(", "crl", "crl", false, 2, kAny},
           Row{"crl?sub?cn=a;binary", "crl", "crl", true, 2, "( cn = a;binary)"},
           Row{"", "", "", false, 0, kAny},
           Row{"??", "", "", false, 0, kAny},
       }) {
    const LDAPQuery query = parseLDAPQuery(row.text);
    EXPECT_EQ(query.attribute, row.attribute) << row.text;
    EXPECT_EQ(query.name, row.name) << row.text;
    EXPECT_EQ(query.binary, row.binary) << row.text;
    EXPECT_EQ(query.scope, row.scope) << row.text;
    EXPECT_EQ(query.filter.toString(), row.filter) << row.text;
  }
  EXPECT_EQ(withoutBinary("crl;binary"), "crl");
  EXPECT_EQ(withoutBinary("crl;lang-it"), "crl;lang-it");
}

}  // namespace
}  // namespace keystrand::test

#include "support/SlapdServer.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "support/Builders.h"
#include "support/Socket.h"

namespace keystrand::test {
namespace {

std::string valueLine(const std::string& attribute, const ByteString& bytes) {
  return attribute + ":: " + toBase64(bytes) + "\n";
}

std::string recordOf(const SlapdServer::Entry& entry) {
  const std::string name = entry.rdn.substr(3, entry.rdn.find(',') - 3);
  std::string record =
      "dn: " + entry.rdn + ",c=IT\nobjectClass: cRLDistributionPoint\nobjectClass: holder\ncn: " + name + "\n";
  if (entry.crl) record += valueLine("certificateRevocationList;binary", *entry.crl);
  if (entry.plainCRL) record += valueLine("plainRevocationList", *entry.plainCRL);
  return record + "modifyTimestamp: " + entry.modified + "\n\n";
}

void run(const std::string& command) {
  if (runCommand(command + " >/dev/null 2>&1").status != 0) throw std::runtime_error("failed: " + command);
}

}  // namespace

SlapdServer::SlapdServer(const std::vector<Entry>& entries) {
  writeConfiguration();
  std::ofstream records(path("entries"));
  records << "dn: c=IT\nobjectClass: country\nc: IT\nmodifyTimestamp: 20250101000000Z\n\n";
  for (const Entry& entry : entries) records << recordOf(entry);
  records.close();
  std::filesystem::create_directory(folder_ / "db");
  run(findProgram("slapadd") + " -q -f " + path("conf") + " -l " + path("entries"));
  port_ = startOnFreePort(process_, [&](const std::string& port) -> std::vector<std::string> {
    return {findProgram("slapd"), "-h", "ldap://127.0.0.1:" + port, "-f", path("conf"), "-d", "0"};
  });
}

void SlapdServer::writeConfiguration() const {
  std::ofstream(path("conf"))
      << "include /etc/ldap/schema/core.schema\nmodulepath /usr/lib/ldap\nmoduleload back_mdb\n"
      << "attributetype ( 1.3.6.1.4.1.99999.1.1 NAME 'plainRevocationList' SYNTAX 1.3.6.1.4.1.1466.115.121.1.40 )\n"
      << "objectclass ( 1.3.6.1.4.1.99999.2.1 NAME 'holder' SUP top AUXILIARY MAY plainRevocationList )\n"
      << "pidfile " << path("pid") << "\ndatabase mdb\nsuffix c=IT\nrootdn cn=admin,c=IT\nrootpw secret\n"
      << "directory " << path("db") << "\nmaxsize 268435456\n";
}

std::string SlapdServer::url(const std::string& dnAndQuery) const {
  return "ldap://127.0.0.1:" + std::to_string(port_) + "/" + dnAndQuery;
}

void SlapdServer::replaceCRL(const std::string& rdn, const ByteString& crl) const {
  std::ofstream(path("change")) << "dn: " << rdn
                                << ",c=IT\nchangetype: modify\nreplace: certificateRevocationList;binary\n"
                                << valueLine("certificateRevocationList;binary", crl);
  run(findProgram("ldapmodify") + " -x -H ldap://127.0.0.1:" + std::to_string(port_) +
      " -D cn=admin,c=IT -w secret -f " + path("change"));
}

}  // namespace keystrand::test

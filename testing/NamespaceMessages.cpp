#include "testing/NamespaceMessages.h"

using namespace hadoop::oracle;

HdfsFileStatusProto fileStatus(const std::string &name)
{
    HdfsFileStatusProto status;
    status.set_filetype(HdfsFileStatusProto::IS_FILE);
    status.set_path(name);
    status.set_length(12345);
    status.mutable_permission()->set_perm(0640);
    status.set_owner("owner");
    status.set_group("group");
    status.set_modification_time(1700000000123ull);
    status.set_access_time(1700000000456ull);
    status.set_block_replication(3);
    status.set_blocksize(134217728);
    return status;
}

void addNewerFields(HdfsFileStatusProto *status)
{
    status->set_symlink("/target");
    status->set_fileid(16400);
    status->set_childrennum(5);
    LocatedBlocksProto *locations = status->mutable_locations();
    locations->set_filelength(10);
    locations->set_underconstruction(false);
    locations->set_islastblockcomplete(true);
    LocatedBlockProto *block = locations->add_blocks();
    block->mutable_b()->set_poolid("BP-1");
    block->mutable_b()->set_blockid(1);
    block->mutable_b()->set_generationstamp(2);
    block->set_offset(0);
    block->set_corrupt(false);
    block->mutable_blocktoken()->set_identifier("");
    block->mutable_blocktoken()->set_password("");
    block->mutable_blocktoken()->set_kind("");
    block->mutable_blocktoken()->set_service("");
    block->add_storagetypes(NVDIMM);
    block->add_storageids("DS-1");
    FileEncryptionInfoProto *encryption = status->mutable_fileencryptioninfo();
    encryption->set_suite(AES_CTR_NOPADDING);
    encryption->set_cryptoprotocolversion(ENCRYPTION_ZONES);
    encryption->set_key("0123456789abcdef");
    encryption->set_iv("0123456789abcdef");
    encryption->set_keyname("key");
    encryption->set_ezkeyversionname("key@0");
    status->set_storagepolicy(7);
    status->mutable_ecpolicy()->set_id(1);
    status->mutable_ecpolicy()->set_name("RS-6-3-1024k");
    status->set_flags(15);
    status->set_namespace_("ns1");
}

GetListingResponseProto listingPage(const std::vector<std::string> &names, std::uint32_t remaining)
{
    GetListingResponseProto page;
    for (const std::string &name : names)
        *page.mutable_dirlist()->add_partiallisting() = fileStatus(name);
    page.mutable_dirlist()->set_remainingentries(remaining);
    return page;
}

GetFileInfoResponseProto fileInfoOf(HdfsFileStatusProto::FileType type)
{
    GetFileInfoResponseProto response;
    *response.mutable_fs() = fileStatus("");
    response.mutable_fs()->set_filetype(type);
    return response;
}

GetFsStatsResponseProto fsStats()
{
    GetFsStatsResponseProto response;
    response.set_capacity(1);
    response.set_used(2);
    response.set_remaining(3);
    response.set_under_replicated(4);
    response.set_corrupt_blocks(5);
    response.set_missing_blocks(6);
    return response;
}

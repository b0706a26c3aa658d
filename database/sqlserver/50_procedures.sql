-- Called by position. On a server whose names are case-sensitive, setReplicationError is needed a second time as
-- SetReplicationError: both spellings are called.
create procedure dbo.setReplicationError @site smallint, @error_f tinyint, @error_text varchar(8000) as
    set nocount on;
    update dbo.replication_control
       set error_f = case when @error_f <> 0 then 1 else 0 end, error_message = @error_text
     where unique_key = @site;
go

create procedure dbo.InsertReplicationConflict
    @unid uniqueidentifier output,
    @site smallint,
    @last_replicate_date datetime,
    @table_name varchar(50),
    @patient_id int,
    @guid uniqueidentifier,
    @conflict_type smallint,
    @key_info varchar(125),
    @source_mod_date datetime,
    @destination_mod_date datetime
as
    set nocount on;
    set @unid = newid();
    insert into dbo.replication_conflict (unid, unique_key, last_replicate_date, table_name, patient_id, guid,
                                          conflict_type, key_info, source_mod_date, destination_mod_date)
    values (@unid, @site, @last_replicate_date, @table_name, @patient_id, @guid,
            @conflict_type, @key_info, @source_mod_date, @destination_mod_date);
go

create procedure dbo.InsertReplicationConflictData
    @conflict_id uniqueidentifier, @field_name varchar(50), @source_data varchar(3500), @destination_data varchar(3500)
as
    set nocount on;
    insert into dbo.replication_conflict_data (conflict_id, field_name, source_data, destination_data)
    values (@conflict_id, @field_name, @source_data, @destination_data);
go

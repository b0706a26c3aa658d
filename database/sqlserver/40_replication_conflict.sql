-- Rows that a run could not settle. The key of the row in question is patient_id for tables keyed by number
-- (whatever the table), guid for all others.
create table dbo.replication_conflict (
    unid                    uniqueidentifier not null primary key,
    unique_key              smallint not null,
    last_replicate_date     datetime,
    table_name              varchar(50),
    patient_id              int,
    guid                    uniqueidentifier,
    conflict_type           smallint,
    key_info                varchar(125),
    source_mod_date         datetime,
    destination_mod_date    datetime
);

-- One row per differing column. No foreign key: a settled conflict loses its header first, then these rows.
create table dbo.replication_conflict_data (
    conflict_id         uniqueidentifier not null,
    field_name          varchar(50) not null,
    source_data         varchar(3500),
    destination_data    varchar(3500)
);

create index replication_conflict_data_conflict on dbo.replication_conflict_data (conflict_id);
go

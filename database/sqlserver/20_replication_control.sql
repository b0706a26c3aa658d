-- One row per replication site: 0 offices, 1 laptop. No unique key: a run counts the rows it updates and
-- reports a site that has two.
create table dbo.replication_control (
    unique_key      smallint not null,
    ready_f         bit,
    error_f         bit,
    error_message   varchar(8000),
    last_timestamp  datetime,
    next_timestamp  datetime
);

-- A last_timestamp before every row means: nothing has been replicated yet.
insert into dbo.replication_control (unique_key, ready_f, error_f, last_timestamp, next_timestamp) values
    (0, 1, 0, '20000101', '20000101'),
    (1, 1, 0, '20000101', '20000101');
go

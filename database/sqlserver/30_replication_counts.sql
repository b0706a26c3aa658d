-- Counters of the last run of each site, such as ('patient updates', 3).
create table dbo.replication_counts (
    unique_key      smallint not null,
    count_name      varchar(100) not null,
    count_value     int not null
);
go
